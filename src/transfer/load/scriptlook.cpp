#include "transfer/load/scriptlook.h"

#include "core/sql/lexer.h"
#include "core/sql/splitter.h"
#include "transfer/load/scriptmode.h"

#include <QRegularExpression>

#include <algorithm>
#include <functional>

namespace {

constexpr int mostDropsTold = 12;
constexpr std::size_t lastBytes = 4096;

// Statements of rows are long, and say nothing that is asked for here.
constexpr std::size_t longestLookedAt = 64 * 1024;

bool startsWith(std::string_view text, std::string_view smallWord)
{
    return text.size() >= smallWord.size() &&
           std::equal(smallWord.begin(), smallWord.end(), text.begin(),
                      [](char small, char any) { return (any | 0x20) == small; });
}

// The words of a statement, comments left out, what stands in version comments among them.
QStringList wordsOf(const QString &statement, qsizetype most)
{
    QStringList words;
    for (SqlLexer lexer(statement); !lexer.isAtEnd() && words.size() < most;) {
        const Token token = lexer.next();
        if (token.kind != TokenKind::Blank && token.kind != TokenKind::Comment &&
            token.kind != TokenKind::VersionStart && token.kind != TokenKind::VersionEnd)
            words << statement.mid(token.start, token.length);
    }
    return words;
}

class Look {
public:
    explicit Look(ScriptLook &look)
        : m_look(look)
    {
    }

    void takeHead(const QByteArray &head);
    // True when what follows is to be read in another mode().
    bool takeStatement(std::string_view statement);
    SqlMode mode() const { return m_mode.mode(); }
    void takeTail(const QByteArray &tail);

private:
    void takeWords(const QStringList &words);

    ScriptLook &m_look;
    ScriptMode m_mode;
};

void Look::takeHead(const QByteArray &head)
{
    // The line of sandboxing: "/*M!999999\- enable the sandbox mode */" or "/*!999999\- ...".
    static const QRegularExpression sandbox(QStringLiteral("\\A\\s*/\\*M?!999999\\\\-"));
    static const QRegularExpression writer(
        QStringLiteral("^-- ((?:Tarnwell|MariaDB dump|MySQL dump|mysqldump)[^\\n]*)"),
        QRegularExpression::MultilineOption);
    static const QRegularExpression server(QStringLiteral("^-- Server(?: version)?:?[ \\t]+([^\\n]*)"),
                                           QRegularExpression::MultilineOption);
    const QString text = QString::fromUtf8(head);
    m_look.isSandboxed = sandbox.match(text).hasMatch();
    m_look.writer = writer.match(text).captured(1).trimmed();
    m_look.sourceServer = server.match(text).captured(1).trimmed();
    m_look.isOfDumpTool = !m_look.writer.isEmpty();
}

bool Look::takeStatement(std::string_view statement)
{
    if (statement.size() > longestLookedAt || startsWith(statement, "insert"))
        return false;
    const QString text = QString::fromUtf8(statement.data(), static_cast<qsizetype>(statement.size()));
    constexpr qsizetype enoughWords = 12;
    takeWords(wordsOf(text, enoughWords));
    addNewCollations(m_look.newCollations, text);
    m_look.setsGtids = m_look.setsGtids || isOfGtids(statement);
    return m_mode.take(text);
}

void Look::takeWords(const QStringList &words)
{
    const auto is = [&words](qsizetype at, QStringView word) {
        return words.value(at).compare(word, Qt::CaseInsensitive) == 0;
    };
    if (is(0, u"SET") && is(1, u"NAMES") && m_look.characterSet.isEmpty())
        m_look.characterSet = words.value(2);
    const bool makesDatabase = is(0, u"CREATE") && (is(1, u"DATABASE") || is(1, u"SCHEMA"));
    if (is(0, u"USE") || makesDatabase) {
        const QString name = words.value(is(0, u"USE") ? 1 : is(2, u"IF") ? 5 : 2);
        if (!m_look.databases.contains(name))
            m_look.databases << name;
    }
    if (!is(0, u"DROP"))
        return;
    ++m_look.drops;
    if (m_look.dropped.size() < mostDropsTold)
        m_look.dropped << (words.value(1).toUpper() + u' ' + words.mid(is(2, u"IF") ? 4 : 2).join(QString()));
}

void Look::takeTail(const QByteArray &tail)
{
    m_look.isComplete = !m_look.isOfDumpTool || tail.contains("-- Dump completed");
}

// What stands beyond ASCII in a file that comes in pieces. Many UTF-8 texts could be read as CP932, too, and
// some hold a value of bytes here and there: what there is more of decides.
class Utf8Count {
public:
    void take(const QByteArray &bytes)
    {
        for (const char byte : bytes)
            take(static_cast<unsigned char>(byte));
    }
    bool isRare() const { return m_others > m_letters; }

private:
    void take(unsigned char byte)
    {
        if (byte < 0x80 && m_missing == 0)
            return;
        const bool isContinuation = (byte & 0xc0) == 0x80;
        if (isContinuation && m_missing > 0) {
            m_letters += --m_missing == 0 ? 1 : 0;
            return;
        }
        m_others += m_missing > 0 ? 1 : 0;
        m_missing = byte < 0xc2 ? 0 : byte < 0xe0 ? 1 : byte < 0xf0 ? 2 : byte < 0xf5 ? 3 : 0;
        m_others += byte >= 0x80 && m_missing == 0 ? 1 : 0;
    }

    qint64 m_letters = 0, m_others = 0;
    int m_missing = 0; // of the letter that has begun
};

ScriptLook lookAs(ScriptFile::Encoding encoding, const QString &path,
                  const std::function<void(qint64, qint64)> &onProgress)
{
    ScriptLook look;
    Look taker(look);
    ScriptFile file(path, encoding);
    StatementSplitter splitter;
    QByteArray tail;
    Utf8Count letters;
    bool isFirst = true, isClosed = true;
    for (bool isAtEnd = false; !isAtEnd;) {
        const QByteArray bytes = file.read(splitter.wantedBytes());
        isAtEnd = bytes.isEmpty();
        if (std::exchange(isFirst, false))
            taker.takeHead(bytes.left(lastBytes));
        letters.take(bytes);
        tail = (tail + bytes).right(lastBytes);
        if (isAtEnd)
            splitter.finish();
        else
            splitter.feed({bytes.constData(), static_cast<std::size_t>(bytes.size())});
        while (const std::optional<ScriptPiece> piece = splitter.next()) {
            isClosed = piece->isClosed;
            if (piece->kind == ScriptPiece::Kind::Statement && taker.takeStatement(piece->text))
                splitter.setMode(taker.mode());
        }
        onProgress(file.bytesRead(), file.byteCount());
    }
    taker.takeTail(tail);
    look.isTextOfCp932 = letters.isRare();
    look.isComplete = look.isComplete && isClosed;
    return look;
}

} // namespace

ScriptLook lookAtScript(const QString &path, const std::function<void(qint64, qint64)> &onProgress)
{
    const ScriptLook look = lookAs(ScriptFile::Encoding::Bytes, path, onProgress);
    if (!look.isTextOfCp932 || look.isOfDumpTool)
        return look;
    try { // the second byte of some characters is a backslash, which would take a quote for a letter
        ScriptLook again = lookAs(ScriptFile::Encoding::Cp932, path, onProgress);
        again.isTextOfCp932 = true;
        return again;
    } catch (const Failure &failure) {
        if (failure.isInterrupted())
            throw;
        return look;
    }
}

namespace {

bool knowsCollation(const QString &name, const ServerInfo &server)
{
    constexpr int firstWith0900 = 80000, firstWithUca1400 = 101000;
    if (name.contains(u"uca1400"))
        return server.isMariaDb && server.number >= firstWithUca1400;
    return !server.isMariaDb && server.number >= firstWith0900;
}

QString replacementFor(const QString &name)
{
    // The nearest that all servers from MySQL 5.6 on know: as to accents and case the older Unicode rules.
    return name.endsWith(u"_bin") ? QStringLiteral("utf8mb4_bin") : QStringLiteral("utf8mb4_unicode_ci");
}

} // namespace

void addNewCollations(QStringList &names, const QString &statement)
{
    static const QRegularExpression newOnes(
        QStringLiteral("\\b(utf8mb4_0900_\\w+|utf8mb4_\\w+_0900_\\w+|\\w*uca1400_\\w+)"));
    for (auto match = newOnes.globalMatch(statement); match.hasNext();) {
        const QString name = match.next().captured(1);
        if (!names.contains(name))
            names << name;
    }
}

QStringList unknownCollations(const QStringList &names, const ServerInfo &server)
{
    QStringList unknown;
    for (const QString &name : names)
        if (!knowsCollation(name, server))
            unknown << name;
    return unknown;
}

QString textOf(const ScriptLook &look, const ServerInfo &server)
{
    QStringList lines;
    const auto add = [&lines](const QString &title, const QString &value) {
        if (!value.isEmpty())
            lines << title + value;
    };
    if (!look.isComplete)
        lines << QStringLiteral("このファイルは途中で切れています。最後の行がありません。");
    add(QStringLiteral("書いたプログラム: "), look.writer.isEmpty() ? QStringLiteral("不明") : look.writer);
    add(QStringLiteral("元のサーバー: "), look.sourceServer);
    add(QStringLiteral("読み込むサーバー: "),
        (server.isMariaDb ? QStringLiteral("MariaDB ") : QStringLiteral("MySQL ")) + server.version);
    add(QStringLiteral("文字コード: "),
        look.isTextOfCp932 ? QStringLiteral("UTF-8 ではありません（CP932 か、バイナリの値を含みます）")
        : look.characterSet.isEmpty() ? QStringLiteral("SET NAMES なし（UTF-8 として読みます）")
                                      : look.characterSet);
    add(QStringLiteral("データベース: "), look.databases.join(QStringLiteral(", ")));
    if (look.drops > 0)
        lines << QStringLiteral("削除するもの (%1): ").arg(look.drops) +
                     look.dropped.join(QStringLiteral(", ")) +
                     (look.drops > look.dropped.size() ? QStringLiteral(", …") : QString());
    if (look.setsGtids)
        lines << QStringLiteral("レプリケーションの位置 (GTID) を設定し、読み込みをバイナリログに残しません");
    const QStringList unknown = unknownCollations(look.newCollations, server);
    if (!unknown.isEmpty())
        lines << QStringLiteral("このサーバーにない照合順序: ") + unknown.join(QStringLiteral(", "));
    return lines.join(u'\n');
}

bool replaceCollations(std::string &statement, const ServerInfo &server)
{
    // Nearly all statements: rows, which hold no such word or only inside of quotes.
    if (statement.find("0900_") == statement.npos && statement.find("uca1400_") == statement.npos)
        return false;
    std::string result;
    bool isChanged = false;
    for (BasicSqlLexer<char> lexer(statement); !lexer.isAtEnd();) {
        const Token token = lexer.next();
        const std::string part =
            statement.substr(static_cast<std::size_t>(token.start), static_cast<std::size_t>(token.length));
        const bool isCollation = token.kind == TokenKind::Word &&
                                 (part.find("_0900_") != part.npos || part.find("uca1400_") != part.npos);
        const QString name = QString::fromStdString(part);
        if (isCollation && !knowsCollation(name, server)) {
            result += replacementFor(name).toStdString();
            isChanged = true;
        } else {
            result += part;
        }
    }
    if (isChanged)
        statement = std::move(result);
    return isChanged;
}

bool isOfGtids(std::string_view statement)
{
    // "SET @@GLOBAL.GTID_PURGED=/*!80000 '+'*/ '...'", "SET @@SESSION.SQL_LOG_BIN= 0"
    static const QRegularExpression variables(
        QStringLiteral("^set\\s+@@(global\\.gtid_purged|session\\.sql_log_bin)\\s*="),
        QRegularExpression::CaseInsensitiveOption);
    constexpr std::size_t enough = 60;
    return startsWith(statement, "set") &&
           variables.match(QString::fromLatin1(statement.substr(0, enough))).hasMatch();
}
