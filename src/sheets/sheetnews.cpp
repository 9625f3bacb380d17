// What a sheet does with the news of its connection.
#include "controls/dialogue/widgetdialogue.h"
#include "controls/grid/flexgrid.h"
#include "core/command/writing.h"
#include "core/sql/passwords.h"
#include "sheets/sheetpage.h"
#include "sheets/sheetresults.h"

#include <QLocale>
#include <QRegularExpression>
#include <QTime>
#include <QTimer>

namespace {

QString counted(qint64 count)
{
    return QLocale().toString(count);
}

// "... near 'x' at line 3": of the statement, from 1; 0: it does not say.
int lineIn(const QString &words)
{
    static const QRegularExpression line(QStringLiteral("at line (\\d+)\\W*$"));
    return line.match(words).captured(1).toInt();
}

// "成功: 1,200 文、10,000 行を変更"
QString summary(const ScriptProgress &progress)
{
    QString text = QStringLiteral("%1 文、%2 行を変更しました")
                       .arg(counted(progress.statements), counted(progress.rowsTouched));
    if (progress.warnings > 0)
        text += QStringLiteral("、警告 %1").arg(counted(progress.warnings));
    if (progress.errors > 0)
        text += QStringLiteral("、エラー %1").arg(counted(progress.errors));
    return text;
}

} // namespace

void SheetPage::take(const SheetNews &news)
{
    using Kind = SheetNews::Kind;
    switch (news.kind) {
    case Kind::Connected:
    case Kind::Told:
        if (!news.text.isEmpty())
            m_results->say(news.text);
        break;
    case Kind::Began:
        m_isResultTold = false;
        if (!news.sent.isEmpty()) // else it is none of the user's statements
            m_sent.push_back({news.sent, m_offset + news.place});
        break;
    case Kind::Fields:
        takeFields(news);
        break;
    case Kind::Rows:
        m_results->addRows(std::move(*news.rows));
        m_thread->worker().release();
        break;
    case Kind::ResultEnded:
        takeEnd(news);
        break;
    case Kind::Failed:
        takeFailure(news);
        break;
    case Kind::Looked:
        m_looked = news;
        break;
    case Kind::Names:
        m_completion.setNames(news.texts);
        break;
    case Kind::ScriptMoved:
        m_progress = progressText(news.progress);
        break;
    case Kind::ScriptEnded:
        takeReport(*news.report);
        break;
    case Kind::Finished:
        takeFinish(news);
        break;
    }
}

const SheetPage::Sent *SheetPage::sentOf(const SheetNews &news) const
{
    const auto place = static_cast<std::size_t>(news.statement);
    return place < m_sent.size() ? &m_sent[place] : nullptr;
}

QString SheetPage::seconds(qint64 microseconds)
{
    return QStringLiteral("%1 秒").arg(static_cast<double>(microseconds) / 1e6, 0, 'f', 3);
}

QString SheetPage::progressText(const ScriptProgress &progress) const
{
    const int total = 1000; // of what has been read
    const int current =
        progress.byteCount > 0 ? static_cast<int>(total * progress.bytesRead / progress.byteCount) : 0;
    return QStringLiteral("%1%　%2　%3")
        .arg(current / 10)
        .arg(batchTime(m_clock.elapsed(), total, current), summary(progress));
}

QString SheetPage::nameOf(int statement) const
{
    return m_statementCount > 1 && !m_sent.empty() ? QStringLiteral("%1) ").arg(statement + 1) : QString();
}

void SheetPage::takeFields(const SheetNews &news)
{
    const Sent *sent = m_isResultTold ? nullptr : sentOf(news); // of a CALL's further results none is known
    const QByteArray statement = sent ? sent->text : QByteArray();
    SelectedTable table = selectedTable(statement, m_editor->mode());
    if (table.database.isEmpty())
        table.database = m_database;
    FlexGrid &grid = m_results->beginGrid(news.fields, table).grid();
    grid.setTableName(table.name);
    grid.setStatement(QString::fromUtf8(statement));
    if (m_around.services.offerExport)
        m_around.services.offerExport(grid, m_settings);
}

void SheetPage::takeEnd(const SheetNews &news)
{
    QString line = QTime::currentTime().toString() + QStringLiteral("  ") + nameOf(news.statement);
    if (!news.fields.empty())
        line += QStringLiteral("%1 行").arg(counted(news.rowCount));
    else if (news.effect.rowsTouched >= 0)
        line += QStringLiteral("%1 行を変更しました").arg(counted(news.effect.rowsTouched));
    else
        line += QStringLiteral("正常終了");
    line += QStringLiteral("（%1）").arg(seconds(news.microseconds));
    if (news.effect.warnings > 0)
        line += QStringLiteral("　警告 %1").arg(news.effect.warnings);
    m_results->say(line);
    for (const QString &text : QStringList{news.text} + news.texts)
        if (!text.isEmpty())
            m_results->say(QStringLiteral("　　") + text);
    m_lastSeconds = line.mid(10);
    if (news.fields.empty() && !m_hasGrid)
        m_results->showMessages();
    m_hasGrid |= !news.fields.empty();
    if (std::exchange(m_isResultTold, true))
        return;
    note(news, {});
    const Sent *sent = sentOf(news);
    const QString database = sent ? databaseOfUse(sent->text, m_editor->mode()) : QString();
    if (!database.isEmpty())
        m_database = database;
}

void SheetPage::takeFailure(const SheetNews &news)
{
    m_hasFailed = true;
    const QString words = news.isStopped ? QStringLiteral("処理を中断しました") : news.text;
    m_results->say(QTime::currentTime().toString() + QStringLiteral("  ") + nameOf(news.statement) +
                   QStringLiteral("エラー: ") + words);
    m_lastSeconds = words;
    m_isInTransaction = m_isInTransaction && !news.isConnectionLost;
    m_results->showMessages();
    note(news, words);
    if (const Sent *sent = sentOf(news); sent && !news.isStopped)
        m_editor->markError(m_editor->lineOf(sent->place) + std::max(0, lineIn(news.text) - 1));
}

// For the log of statements and the history.
void SheetPage::note(const SheetNews &news, const QString &error)
{
    const Sent *sent = sentOf(news);
    if (!sent)
        return;
    const QString statement = QString::fromUtf8(sent->text);
    const bool hasRows = !news.fields.empty();
    LoggedStatement entry;
    entry.time = QDateTime::currentDateTime();
    entry.statement = maskedPasswords(statement);
    entry.microseconds = news.microseconds;
    entry.rows = hasRows ? news.rowCount : -1;
    entry.error = holdsPassword(statement) ? withoutQuotedPart(error) : error;
    m_around.session.statementLog->add(entry);
    if (!m_around.services.remember || holdsPassword(statement))
        return;
    HistoryEntry remembered;
    remembered.statement = statement;
    remembered.database = m_database;
    remembered.server = serverName(settings());
    remembered.error = entry.error;
    remembered.microseconds = news.microseconds;
    remembered.rows = hasRows ? news.rowCount : news.effect.rowsTouched;
    m_around.services.remember(remembered);
}

void SheetPage::takeReport(const ScriptReport &report)
{
    const QString time = QTime::currentTime().toString() + QStringLiteral("  ");
    for (const ScriptError &error : report.firstErrors)
        m_results->say(
            time + (error.line > 0 ? QStringLiteral("%1:%2: ").arg(error.file).arg(error.line) : QString()) +
            error.description +
            (error.statement.isEmpty() ? QString() : QStringLiteral("\n　　") + error.statement));
    QString line = report.isComplete  ? QStringLiteral("ファイルの終わりまで実行しました。")
                   : report.isStopped ? QStringLiteral("処理を中断しました。")
                                      : QStringLiteral("エラーで止まりました。");
    line += summary(report);
    if (report.isTakenBack)
        line += QStringLiteral("。ロールバックしました（CREATEなど、取り消せない文を除く）");
    m_results->say(time + line + QStringLiteral("（%1）").arg(seconds(m_clock.elapsed() * 1000)));
    m_results->showMessages();
    m_lastSeconds = line;
}

void SheetPage::takeFinish(const SheetNews &news)
{
    m_isRunning = false;
    m_clockTimer->stop();
    if (news.effect.isInTransaction)
        m_isInTransaction = *news.effect.isInTransaction;
    m_isAutocommit = news.isAutocommit.value_or(m_isAutocommit);
    if (!news.texts.isEmpty() && std::exchange(m_settings->gDbName, news.texts.first()) != news.texts.first())
        m_completion.forgetNames();
    m_database = m_settings->gDbName;
    m_editor->setMode(news.mode);
    m_results->endRun();
    m_hasGrid = false;
    Q_EMIT changed();
    Q_EMIT finished();
    if (std::exchange(m_wantsWords, false))
        m_completion.offer();
    if (const std::optional<SheetNews> looked = std::exchange(m_looked, {}); looked && !news.isStopped)
        askAndRun(*looked);
}
