// Scripts: their pieces do not depend on how they are read, and nothing but layout lies between them.
#include "core/sql/format.h"
#include "core/sql/splitter.h"
#include "fuzz.h"

namespace {

QString text(std::string_view bytes)
{
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

} // namespace

std::vector<std::string_view> seeds()
{
    return {"\x01with t as (select a, b from c where d = 1 and (e between 2 and 3 or f)) select count(*), "
            "case when "
            "x then 'y' end from t left join u on t.a=u.a group by 1 order by 2 limit 3;insert into t values "
            "(1,2)"
            " on duplicate key update a = 1 -- c\n;",
            "\x05select 1; select ';' /* ; */ -- ;\n; x",
            "\x03"
            "delimiter //\nbegin a; end//\ndelimiter ;\nuse `b;`;\nsource c.sql;\n\\. d",
            "\x01/*!50003 create */ /*!50003 trigger t begin a; end */;; 'a\\';' \"b\"\"\" x'1' 1e+5"};
}

void check(const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return;
    const auto choice = static_cast<unsigned char>(bytes[0]);
    const std::string_view script(bytes.constData() + 1, static_cast<std::size_t>(bytes.size() - 1));
    const SqlMode mode{.hasAnsiQuotes = (choice & 64) != 0, .hasPlainBackslashes = (choice & 128) != 0};
    const std::vector<ScriptPiece> whole = scriptPieces(script, mode);
    StatementSplitter splitter(mode);
    std::size_t read = 0, given = 0;
    qint64 end = 0;
    while (read <= script.size()) {
        splitter.feed(script.substr(read, 1 + choice % 60U));
        read += 1 + choice % 60U;
        if (read > script.size())
            splitter.finish();
        while (const std::optional<ScriptPiece> piece = splitter.next()) {
            require(given < whole.size(), "no more pieces than at once", {text(script), text(piece->text)});
            const ScriptPiece &same = whole[given++];
            require(piece->text == same.text && piece->start == same.start && piece->end == same.end &&
                        piece->line == same.line && piece->kind == same.kind,
                    "the same pieces as at once", {text(script), text(piece->text), text(same.text)});
            require(end <= piece->start && piece->start < piece->end, "pieces follow one another",
                    {text(script)});
            end = piece->end;
        }
    }
    require(given == whole.size(), "no fewer pieces than at once", {text(script)});

    const QByteArray any = bytes.mid(1);
    const QByteArray formatted = formattedSql(any, mode, static_cast<KeywordCase>(choice % 3));
    require(haveSameTokens(any, formatted, mode, choice % 3 != 0), "a new layout changes no token",
            {text(script), QString::fromUtf8(formatted)});
}
