#include "sheets/sheetworker.h"

#include "core/command/columnnames.h"
#include "core/session/basconnection.h"
#include "core/sql/sessionstate.h"
#include "core/sql/trackedsession.h"

#include <QDir>
#include <QElapsedTimer>
#include <QScopeGuard>

#include <new>
#include <utility>

namespace {

bool mayChooseDatabase(const QByteArray &statement)
{
    const QByteArray text = statement.left(200).trimmed().toLower();
    return text.startsWith("use") || text.startsWith("drop") || text.startsWith("/*");
}

} // namespace

void SheetWorker::ThreadPump::wait(Completion &completion)
{
    while (!completion.waitFor(std::chrono::milliseconds(20)))
        m_worker.heedStop();
}

SheetWorker::SheetWorker() = default;
SheetWorker::~SheetWorker() = default;

void SheetWorker::use(std::unique_ptr<Session> session)
{
    m_session = std::move(session);
    m_running = m_session.get();
}

void SheetWorker::heedStop()
{
    if (m_isStopWanted && !m_running->runner.isStopWanted())
        m_running->runner.stop();
}

void SheetWorker::tell(SheetNews::Kind kind, const QString &text)
{
    SheetNews news;
    news.kind = kind;
    news.statement = m_statement;
    news.text = text;
    Q_EMIT came(news);
}

void SheetWorker::fail(const Failure &failure)
{
    SheetNews news;
    news.kind = SheetNews::Kind::Failed;
    news.statement = m_statement;
    news.text = failure.description();
    if (!m_isAutocommit) // the next connection of the sheet is told so again
        news.text.remove(u'、' + lostAutocommit());
    news.isStopped = m_session->runner.isStopWanted();
    news.isConnectionLost = failure.isConnectionLost();
    news.microseconds = m_since.isValid() ? m_since.nsecsElapsed() / 1000 : 0;
    Q_EMIT came(news);
}

void SheetWorker::runAlone(const std::function<void()> &action)
{
    m_statement = 0;
    m_session->runner.run(this, QStringLiteral("SQLシート"), [&] {
        try {
            requireConnection();
            action();
        } catch (const Failure &failure) {
            if (failure.isConnectionLost() && !std::exchange(m_isElsewhere, false))
                disconnect(); // and its transaction is gone
            fail(failure);
        } catch (const std::bad_alloc &) {
            fail(Failure(QStringLiteral("メモリが不足しています。")));
        }
        SheetNews news;
        try {
            if (std::exchange(m_mayHaveMoved, false) && !m_session->runner.isStopWanted()) {
                const RecordSet chosen = m_session->connection().execute(QStringLiteral("select database()"));
                m_session->gDbName = chosen.isNull(0) ? QString() : chosen.text(0);
                news.texts << m_session->gDbName;
            }
        } catch (const Failure &) {
            // The next statement says that the connection is lost.
        }
        news.isStopped = m_session->runner.isStopWanted();
        if (m_session->gCn && m_session->gCn->isOpen())
            news.effect = m_session->gCn->effect();
        news.mode = m_mode;
        news.isAutocommit = m_isAutocommit;
        Q_EMIT came(news);
    });
}

// A connection that was lost is made anew by the next thing that is run; what hung on it is gone.
void SheetWorker::requireConnection()
{
    heedStop();
    if (m_session->gCn && m_session->gCn->isOpen())
        return;
    disconnect();
    if (const std::optional<Failure> failure = tryConnecting(*m_session)) {
        constexpr int unknownDatabase = 1049;
        if (failure->number() == unknownDatabase)
            m_session->gDbName.clear(); // said once; the next run chooses another one
        throw Failure(*failure);
    }
    chooseAgain();
    tell(SheetNews::Kind::Connected,
         std::exchange(m_wasConnected, true)
             ? QStringLiteral("接続をやり直しました。ユーザー変数・一時テーブル・ロックは失われ、"
                              "確定していない変更は取り消されています。") +
                   (m_isAutocommit ? QString() : QStringLiteral("自動コミットはオフのままです。"))
             : QString());
    if (!m_isAutocommit)
        m_session->connection().execute(QStringLiteral("set autocommit=0"));
    m_mode = sqlModeOf(m_session->connection());
    m_mayHaveMoved = true;
}

void SheetWorker::disconnect()
{
    if (m_session->gCn)
        m_use = lastUse(*m_session->gCn);
    sDisconnect(*m_session);
}

// What is run next must not land in the database that the sheet began with.
void SheetWorker::chooseAgain()
{
    const QString use = std::exchange(m_use, QString());
    if (use.isEmpty())
        return;
    try {
        m_session->connection().execute(use);
    } catch (const Failure &failure) {
        if (failure.isConnectionLost())
            m_use = use;
        sDisconnect(*m_session);
        throw;
    }
}

std::optional<Failure> SheetWorker::lend(const std::function<void(Connection &)> &work)
{
    std::optional<Failure> result;
    m_session->runner.run(this, QStringLiteral("SQLシート"), [&] {
        try {
            heedStop();
            work(m_session->connection());
        } catch (const Failure &failure) {
            if (failure.isConnectionLost())
                disconnect();
            result = failure;
        } catch (const std::bad_alloc &) {
            result = Failure(QStringLiteral("メモリが不足しています。"));
        }
    });
    return result;
}

void SheetWorker::close()
{
    sDisconnect(*m_session);
}

void SheetWorker::setAutocommit(bool isOn)
{
    m_isAutocommit = isOn;
    if (m_wasConnected)
        sendAlone(isOn ? QStringLiteral("set autocommit=1") : QStringLiteral("set autocommit=0"));
    else
        Q_EMIT came({});
}

void SheetWorker::run(const SheetRun &run)
{
    runAlone([&] {
        const std::string_view text(run.text.constData(), static_cast<std::size_t>(run.text.size()));
        if (!run.isScript) {
            runPiece({.text = text}, run);
            return;
        }
        StatementSplitter splitter(m_mode);
        splitter.feed(text);
        splitter.finish();
        while (const std::optional<ScriptPiece> piece = splitter.next()) {
            runPiece(*piece, run);
            splitter.setMode(m_mode);
        }
    });
}

void SheetWorker::runPiece(const ScriptPiece &piece, const SheetRun &run)
{
    SheetNews begun;
    begun.kind = SheetNews::Kind::Began;
    begun.statement = m_statement;
    begun.place = static_cast<int>(piece.start);
    begun.sent = QByteArray(piece.text.data(), static_cast<qsizetype>(piece.text.size()));
    try {
        heedStop();
        Q_EMIT came(begun);
        if (piece.kind == ScriptPiece::Kind::Source)
            runSource(begun.sent, run);
        else
            send(begun.sent);
        if (piece.kind == ScriptPiece::Kind::Statement && setsCharacterSet(piece.text))
            keepUtf8();
        if (piece.kind == ScriptPiece::Kind::Source || maySetSqlMode(piece.text))
            m_mode = sqlModeOf(m_session->connection());
        if (piece.kind == ScriptPiece::Kind::Source || maySetAutocommit(piece.text))
            m_isAutocommit =
                m_session->connection().execute(QStringLiteral("select @@session.autocommit")).text(0) !=
                u"0";
    } catch (const Failure &failure) {
        if (failure.isConnectionLost())
            disconnect();
        if (!run.goesOnAtErrors || m_session->runner.isStopWanted() || failure.isConnectionLost())
            throw;
        fail(failure);
    }
    ++m_statement;
}

// A text from a file of another character set is UTF-8 here, whatever it says itself.
void SheetWorker::keepUtf8()
{
    m_session->connection().execute(keepsUtf8());
    tell(SheetNews::Kind::Told,
         QStringLiteral("　　シートの文と結果は UTF-8 です。character_set_client と character_set_results を "
                        "utf8mb4 に戻しました"));
}

void SheetWorker::runSource(const QByteArray &name, const SheetRun &run)
{
    ScriptOptions options;
    options.path = QDir(run.folder).filePath(QString::fromUtf8(name));
    options.goesOnAtErrors = run.goesOnAtErrors;
    SheetNews news;
    news.kind = SheetNews::Kind::ScriptEnded;
    news.statement = m_statement;
    news.report =
        std::make_shared<ScriptReport>(runScript(*m_session, options, [this](const auto &) { heedStop(); }));
    Q_EMIT came(news);
    m_mayHaveMoved = true;
}

void SheetWorker::send(const QByteArray &statement)
{
    m_since.start();
    m_mayHaveMoved |= mayChooseDatabase(statement);
    RecordSet rows = m_session->connection().executeText(statement);
    Connection &connection = m_session->connection();
    for (bool hasResult = true; hasResult;) {
        tellResult(rows);
        hasResult = connection.effect().hasFurther && connection.nextResult(rows);
    }
}

void SheetWorker::tellResult(RecordSet &rows)
{
    SheetNews end;
    end.kind = SheetNews::Kind::ResultEnded;
    end.statement = m_statement;
    end.text = rows.note();
    if (rows.isOpen()) {
        SheetNews begin;
        begin.kind = SheetNews::Kind::Fields;
        begin.statement = m_statement;
        begin.fields = end.fields = rows.fields();
        Q_EMIT came(begin);
        sendRows(rows, end);
    }
    end.microseconds = m_since.nsecsElapsed() / 1000;
    end.effect = m_session->connection().effect();
    if (!end.effect.hasFurther) // the question would throw away what follows
        end.texts = warnings(end.effect.warnings);
    Q_EMIT came(end);
}

void SheetWorker::sendRows(RecordSet &rows, SheetNews &end)
{
    for (; !rows.isEof(); rows.moveNextBlock()) {
        auto block = std::make_shared<RowBlock>(rows.takeBlock());
        end.rowCount += block->rowCount();
        handOver(std::move(block));
        heedStop();
        m_session->requireGoingOn();
    }
}

// The windows take their time; a sheet that has gone takes nothing any more.
void SheetWorker::handOver(std::shared_ptr<RowBlock> block)
{
    while (!m_room.tryAcquire(1, 50))
        if (m_isStopWanted)
            return;
    SheetNews news;
    news.kind = SheetNews::Kind::Rows;
    news.statement = m_statement;
    news.rows = std::move(block);
    Q_EMIT came(news);
}

QStringList SheetWorker::warnings(int count)
{
    QStringList texts;
    if (count == 0)
        return texts;
    try {
        RecordSet rows = m_session->connection().execute(QStringLiteral("show warnings"));
        constexpr qsizetype most = 100;
        for (; rows.isOpen() && !rows.isEof() && texts.size() < most; rows.moveNext())
            if (rows.fieldCount() >= 3)
                texts << rows.text(0) + u' ' + rows.text(1) + QStringLiteral(": ") + rows.text(2);
    } catch (const Failure &) {
        // The statement itself was carried out; the next one says what became of the connection.
    }
    return texts;
}

void SheetWorker::sendAlone(const QString &statement)
{
    runAlone([&] {
        tell(SheetNews::Kind::Began);
        send(statement.toUtf8());
    });
}

void SheetWorker::runScriptFile(const ScriptOptions &options)
{
    runAlone([&] {
        // A connection of its own: what the script sets ends with it.
        const std::unique_ptr<Session> own = siblingOf(*m_session, m_session->gDbName, m_pump);
        m_running = own.get();
        m_isElsewhere = true;
        const auto isOver = qScopeGuard([this] { m_running = m_session.get(); });
        SheetNews ended;
        ended.kind = SheetNews::Kind::ScriptEnded;
        own->runner.run(this, options.path, [&] {
            if (const std::optional<Failure> failure = tryConnecting(*own))
                throw Failure(*failure);
            ended.report =
                std::make_shared<ScriptReport>(runScript(*own, options, [&](const ScriptProgress &progress) {
                    SheetNews moved;
                    moved.kind = SheetNews::Kind::ScriptMoved;
                    moved.progress = progress;
                    Q_EMIT came(moved);
                    heedStop();
                }));
        });
        sDisconnect(*own);
        m_isElsewhere = false;
        Q_EMIT came(ended);
    });
}

void SheetWorker::readNames()
{
    runAlone([&] {
        SheetNews news;
        news.kind = SheetNews::Kind::Names;
        news.texts = readColumnNames(m_session->connection());
        Q_EMIT came(news);
    });
}
