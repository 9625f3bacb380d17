// Statements as users write them: taken apart, their kind, and passwords among all that may stand in quotes.
#include "core/driver/odbc/statementkind.h"
#include "core/sql/lexer.h"
#include "core/sql/passwords.h"
#include "fuzz.h"

namespace {

const QString secret = QStringLiteral("s3cr3t");

// Pieces that each end outside of quotes, as the server reads them.
const QStringList pieces{"grant usage on *.* to ",
                         "'it''s'@",
                         "\"o'brien\"@",
                         "'a\"b' ",
                         "`it's`.* ",
                         "`say \"x`",
                         "'\\''",
                         "\"\\\"'\" ",
                         "'\\\\' ",
                         "identified by ",
                         "\"\"\"\" ",
                         "''''",
                         "`a``'b`",
                         "/* it's */ ",
                         ", ",
                         "-- don't\n",
                         "# \"\n",
                         "set password = "};
const QStringList holders{"'%1'", "\"%1\"", "'x''%1'", "\"'%1\"", "'\\'%1'", "%1", "`%1`", "by '%1"};

QString chosen(const QByteArray &bytes, qsizetype from, qsizetype to)
{
    QString text;
    for (qsizetype i = from; i < to; ++i)
        text += pieces[static_cast<unsigned char>(bytes[i]) % pieces.size()];
    return text;
}

void checkTokens(const QString &text, SqlMode mode)
{
    QString joined;
    const std::vector<Token> tokens = sqlTokens(text, mode);
    for (const Token &token : tokens) {
        const QString piece = text.mid(token.start, token.length);
        require(token.start == joined.size() && !piece.isEmpty(), "tokens follow one another", {text, piece});
        require(token.isClosed || &token == &tokens.back(), "only the last one can be open", {text, piece});
        joined += piece;
    }
    require(joined == text, "joined, the tokens are the text", {text, joined});
    // What ends outside of quotes and comments says nothing about what follows behind a blank.
    if (tokens.empty() || !tokens.back().isClosed || tokens.back().kind == TokenKind::Comment)
        return;
    const QString more = text + QStringLiteral("\n'x'");
    require(sqlTokens(more, mode).back().kind == TokenKind::Text, "a text stands for itself", {text});
}

// What a server passes over must not hide what kind of statement the driver gets.
void checkKind(const QString &text)
{
    for (const char *before : {" \r\n\t", "-- a\n", "/* ; */", "# x\n(", "((", "/**/"})
        require(StatementKind::mayLeaveRowsUnread(before + text) == StatementKind::mayLeaveRowsUnread(text) &&
                    StatementKind::isPrepared(before + text) == StatementKind::isPrepared(text),
                "comments and blanks in front change nothing", {before, text});
}

} // namespace

std::vector<std::string_view> seeds()
{
    return {"set pasword = geheim",
            "update mysql . user set x='y' -- \"",
            "/*!50100 identified by*/ 'a' b",
            "concat('set pass','word=1')",
            "set password 0x12b'a',x",
            "b'\nxb'set passwrd",
            "\x01\x02\x03",
            std::string_view("\x00\x04\x01\x09\x00", 5),
            "\x0d\x0f\x10\x11\x02",
            "password 'a' `it's` /* \"x */ -- y'\n\"b",
            "/*!50100 alter */ /*M!100100 x */ table t /*+ hint */ /* ' */ # `\n--\n",
            "0x1F x'1F' b'01' n'a' _utf8'b' @@x := 1.e 1a 0b2 -->> /* /*!",
            "# b\n/* x */ load index into cache t"};
}

void check(const QByteArray &bytes)
{
    if (bytes.isEmpty())
        return;
    const unsigned char choice = static_cast<unsigned char>(bytes[0]);
    const qsizetype middle = 1 + choice % bytes.size();
    const QString statement = chosen(bytes, 1, middle) + QStringLiteral("identified by ") +
                              holders[choice % holders.size()].arg(secret) + u' ' +
                              chosen(bytes, middle, bytes.size());
    const QString masked = maskedPasswords(statement);
    require(!masked.contains(secret), "a password is never shown", {statement, masked});
    // A server's refusal quotes the statement from some place on, in quotes of its own, and cuts it
    // somewhere.
    const QString quoted = statement.mid(choice % statement.size(), 80);
    const QString words = QStringLiteral("You have an error near '") + quoted + QStringLiteral("' at line 1");
    const QString shown = withoutQuotedPart(words);
    require(!shown.contains(secret), "the server's quotation shows no password", {words, shown});

    const QString any = QString::fromUtf8(bytes), once = maskedPasswords(any);
    for (const bool isOther : {false, true})
        checkTokens(any, {.hasAnsiQuotes = isOther, .hasPlainBackslashes = isOther});
    checkKind(any);
    require(maskedPasswords(once) == once, "masking twice is masking once", {any, once});
    require(holdsPassword(any) || maskedPasswords(any) == any, "other texts stay as they are", {any});
}
