#include "core/command/script.h"

#include "core/command/definition.h"
#include "core/sql/answers.h"
#include "core/sql/batch.h"
#include "core/sql/passwords.h"
#include "core/sql/splitter.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>

#include <algorithm>

namespace {

// The protocol takes no larger statement.
constexpr std::size_t longestStatement = 1024 * 1024 * 1024;
constexpr std::size_t mostErrors = 1000;
constexpr int deepestSource = 20; // a script may name itself

// The end of the script, as far as it is no refusal of one statement.
struct Ended {};

class Run {
public:
    Run(Session &session, const ScriptOptions &options,
        const std::function<void(const ScriptProgress &)> &onProgress)
        : m_session(session)
        , m_options(options)
        , m_onProgress(onProgress)
    {
        m_clock.start();
    }
    ScriptReport run();

private:
    void runAll();
    void runFile(const QString &path, int depth);
    void runPiece(const QString &path, const ScriptPiece &piece, int depth, StatementSplitter &splitter);
    void sendBatch(const QString &path);
    void refuse(const QString &path, qint64 line, std::string_view statement, const Failure &failure);
    void note(ScriptError error);
    void tell(const ScriptFile &file, bool isOutermost);

    Session &m_session;
    const ScriptOptions &m_options;
    const std::function<void(const ScriptProgress &)> &m_onProgress;
    ScriptReport m_report;
    SqlMode m_mode;
    bool m_givesUtf8 = false; // the file that is read
    QElapsedTimer m_clock;
    // What waits to be sent in one go, and how much that may be now: small statements go together, and those
    // that take their time one by one, for the progress and the stop.
    std::vector<QByteArray> m_batch;
    std::vector<qint64> m_lines;
    qsizetype m_batchBytes = 0;
    std::size_t m_batchSize = 1;
};

ScriptReport Run::run()
{
    try {
        runAll();
        m_report.isComplete = true;
    } catch (const Ended &) {
        // Its reason is in the report.
    } catch (const Failure &failure) {
        m_report.isStopped = m_session.runner.isStopWanted();
        if (!m_report.isStopped)
            note({m_options.path, 0, {}, failure.description()});
    }
    const bool isWhole = m_report.isComplete && (m_report.errors == 0 || m_options.goesOnAtErrors);
    if (m_options.isInTransaction && !isWhole) {
        const Undoing undoing(m_session);
        try {
            m_session.connection().execute(QStringLiteral("rollback"));
            m_report.isTakenBack = true;
        } catch (const Failure &failure) {
            note({m_options.path, 0, QStringLiteral("rollback"), failure.description()});
        }
    }
    m_onProgress(m_report);
    return std::move(m_report);
}

void Run::runAll()
{
    m_mode = sqlModeOf(m_session.connection());
    if (m_options.isInTransaction)
        m_session.connection().execute(QStringLiteral("start transaction"));
    runFile(m_options.path, 0);
    if (m_options.isInTransaction)
        m_session.connection().execute(QStringLiteral("commit"));
}

void Run::runFile(const QString &path, int depth)
{
    ScriptFile file(path, m_options.encoding);
    StatementSplitter splitter(m_mode);
    for (bool isAtEnd = false; !isAtEnd;) {
        QByteArray bytes = file.read(splitter.wantedBytes());
        isAtEnd = bytes.isEmpty();
        if (isAtEnd)
            splitter.finish();
        else
            splitter.feed({bytes.constData(), static_cast<std::size_t>(bytes.size())});
        bytes = {};
        m_givesUtf8 = file.givesUtf8();
        while (const std::optional<ScriptPiece> piece = splitter.next()) {
            m_session.requireGoingOn();
            runPiece(path, *piece, depth, splitter);
            m_givesUtf8 = file.givesUtf8(); // another file may have been run
            tell(file, depth == 0);
        }
        if (isAtEnd)
            sendBatch(path);
        if (splitter.pendingBytes() > longestStatement)
            throw Failure(QStringLiteral("1GBを超える文があります。引用符が閉じていないかもしれません。"));
    }
}

void Run::runPiece(const QString &path, const ScriptPiece &piece, int depth, StatementSplitter &splitter)
{
    const bool isSource = piece.kind == ScriptPiece::Kind::Source;
    const bool namesSet = !isSource && m_givesUtf8 && setsCharacterSet(piece.text);
    const bool endsBatch = isSource || namesSet || maySetSqlMode(piece.text);
    QByteArray text = splitter.take(piece);
    if (!isSource) {
        // What is longer is rows, and would be held once more.
        constexpr qsizetype longestRewritten = 16 * 1024 * 1024;
        if (std::string rewritten; m_options.rewrite && text.size() <= longestRewritten &&
                                   m_options.rewrite(rewritten = text.toStdString()))
            text = QByteArray::fromStdString(rewritten);
        m_batchBytes += text.size();
        m_batch.push_back(endsBatch ? text : std::exchange(text, {}));
        m_lines.push_back(piece.line);
    }
    constexpr qsizetype enoughBytes = 64 * 1024;
    if (endsBatch || m_batch.size() >= m_batchSize || m_batchBytes >= enoughBytes)
        sendBatch(path);
    if (!endsBatch)
        return;
    try {
        if (isSource) {
            if (depth >= deepestSource)
                throw Failure(QStringLiteral("SOURCEの入れ子が深すぎます。"));
            runFile(QFileInfo(path).dir().filePath(QString::fromUtf8(text)), depth + 1);
        }
        if (namesSet)
            m_session.connection().execute(keepsUtf8());
        m_mode = sqlModeOf(m_session.connection());
        splitter.setMode(m_mode);
    } catch (const Failure &failure) {
        refuse(path, piece.line, {text.constData(), static_cast<std::size_t>(text.size())}, failure);
    }
}

void Run::sendBatch(const QString &path)
{
    constexpr qint64 tooLong = 30, tooShort = 10; // milliseconds
    constexpr std::size_t most = 500;
    QElapsedTimer clock;
    clock.start();
    std::size_t first = 0;
    while (first < m_batch.size()) {
        const BatchOutcome outcome = executeAll(
            m_session.connection(), {m_batch.begin() + static_cast<std::ptrdiff_t>(first), m_batch.end()},
            [this] { m_session.requireGoingOn(); });
        m_report.rowsTouched += outcome.rowsTouched;
        m_report.warnings += outcome.warnings;
        m_report.statements += static_cast<qint64>(outcome.done);
        first += outcome.done;
        if (!outcome.failure)
            break;
        ++m_report.statements;
        refuse(path, m_lines[first],
               {m_batch[first].constData(), static_cast<std::size_t>(m_batch[first].size())},
               *outcome.failure);
        ++first;
    }
    if (clock.elapsed() > tooLong)
        m_batchSize = std::max<std::size_t>(1, m_batchSize / 2);
    else if (clock.elapsed() < tooShort)
        m_batchSize = std::min(most, m_batchSize * 2);
    m_batch.clear();
    m_lines.clear();
    m_batchBytes = 0;
}

void Run::refuse(const QString &path, qint64 line, std::string_view statement, const Failure &failure)
{
    if (m_session.runner.isStopWanted())
        throw Failure(failure);
    note({path, line, maskedBeginning(statement), failure.description()});
    if (!m_options.goesOnAtErrors || failure.isConnectionLost())
        throw Ended();
}

void Run::note(ScriptError error)
{
    ++m_report.errors;
    if (m_report.firstErrors.size() < mostErrors)
        m_report.firstErrors.push_back(std::move(error));
}

void Run::tell(const ScriptFile &file, bool isOutermost)
{
    constexpr qint64 often = 50; // milliseconds
    if (m_clock.elapsed() < often)
        return;
    m_clock.restart();
    if (isOutermost) {
        m_report.bytesRead = file.bytesRead();
        m_report.byteCount = file.byteCount();
    }
    m_onProgress(m_report);
}

} // namespace

ScriptReport runScript(Session &session, const ScriptOptions &options,
                       const std::function<void(const ScriptProgress &)> &onProgress)
{
    return Run(session, options, onProgress).run();
}

SqlMode sqlModeOf(Connection &connection)
{
    return readingMode(firstText(connection, QStringLiteral("select @@session.sql_mode")));
}

namespace {

// Such a statement is short; nobody looks for the word in megabytes of values.
bool isShortWith(std::string_view word, std::string_view statement)
{
    constexpr std::size_t longest = 4000;
    const auto isSame = [](char a, char b) { return (a | 0x20) == (b | 0x20); };
    return statement.size() < longest && std::search(statement.begin(), statement.end(), word.begin(),
                                                     word.end(), isSame) != statement.end();
}

} // namespace

bool maySetSqlMode(std::string_view statement)
{
    return isShortWith("sql_mode", statement);
}

bool maySetAutocommit(std::string_view statement)
{
    return isShortWith("autocommit", statement);
}

bool setsCharacterSet(std::string_view statement)
{
    constexpr std::size_t longest = 4000;
    static const QStringList words{"names", "charset", "character", "character_set_client",
                                   "@@character_set_client"};
    bool isSet = false;
    for (BasicSqlLexer<char> lexer(statement); !lexer.isAtEnd() && statement.size() < longest;) {
        const Token token = lexer.next();
        const bool isPassedOver = token.kind == TokenKind::Blank || token.kind == TokenKind::Comment ||
                                  token.kind == TokenKind::VersionStart;
        const QString word = QString::fromLatin1(statement.data() + token.start, token.length).toLower();
        if (isSet && token.kind == TokenKind::Word && words.contains(word))
            return true;
        if (!isSet && !isPassedOver && word != u"set")
            break;
        isSet = isSet || !isPassedOver;
    }
    return false;
}

QString keepsUtf8()
{
    return QStringLiteral("set character_set_client=utf8mb4, character_set_results=utf8mb4");
}
