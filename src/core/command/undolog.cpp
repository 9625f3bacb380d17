#include "core/command/undolog.h"

#include "core/sql/trackedsession.h"

#include <QFile>

#include <algorithm>

UndoLog::UndoLog(Session &session, QString what)
    : m_session(session)
    , m_what(std::move(what))
{
}

UndoLog::~UndoLog() = default;

void UndoLog::open(const std::vector<SessionVariable> &more)
{
    QStringList names;
    std::vector<SessionVariable> wanted = more;
    // A limit cuts what SHOW lists and what a SELECT copies; without autocommit, what was answered may go
    // when the connection breaks.
    wanted.push_back({QStringLiteral("sql_select_limit"), QStringLiteral("18446744073709551615")});
    wanted.push_back({QStringLiteral("autocommit"), QStringLiteral("1")});
    for (const SessionVariable &variable : wanted) {
        if (m_variables.before(variable.name).isNull())
            names << variable.name;
    }
    m_variables.read(connection(), names);
    m_variables.set(connection(), wanted);
    m_place = serverPlace(connection());
}

void UndoLog::note(Step step)
{
    m_steps.push_back({std::move(step)});
    if (const QString failure = save(); !failure.isEmpty()) {
        m_steps.pop_back();
        throw Failure(failure);
    }
}

RecordSet UndoLog::execute(Step step)
{
    // Once a stop is wanted this throws, and nothing is noted.
    Connection &reached = connection();
    note(std::move(step));
    Noted &noted = m_steps.back();
    try {
        Q_ASSERT(&reached == m_session.gCn.get());
        RecordSet rows = send(noted.step.statement, noted.step.with);
        if (!noted.step.notDone.isEmpty() && !isSo(connection(), noted.step.isDone))
            throw Failure(noted.step.notDone);
        noted.state = State::Done;
        return rows;
    } catch (const Failure &error) {
        if (doubtAfter(m_session, error) == Doubt::None)
            noted.state = State::Refused;
        if (noted.state == State::InDoubt || noted.step.lost.isEmpty())
            throw;
        keep(noted.step.lost, error.description() + u'\n' + noted.step.statement);
        m_steps.pop_back();
    }
    return {};
}

RecordSet UndoLog::send(const QString &statement, const std::vector<SessionVariable> &with)
{
    if (with.empty())
        return connection().execute(statement);
    executeOwn(connection(), setStatement(with));
    try {
        RecordSet rows = connection().execute(statement);
        executeOwn(connection(), m_variables.resetStatement(with));
        return rows;
    } catch (const Failure &error) {
        const Undoing undoing(m_session);
        if (doubtAfter(m_session, error) != Doubt::AnswerLost)
            executeOwn(connection(), m_variables.resetStatement(with));
        throw;
    }
}

void UndoLog::keep(const QString &message, const QString &details)
{
    if (!message.isEmpty() && !m_messages.contains(message))
        m_messages << message;
    if (!details.isEmpty())
        m_details << details;
}

void UndoLog::release()
{
    const auto held = std::ranges::find_if(
        m_steps, [](const Noted &noted) { return noted.step.isOfSession && noted.state == State::Done; });
    if (held == m_steps.end())
        return;
    for (const WayBack &back : held->step.back)
        connection().execute(back.statement);
    m_steps.erase(held);
}

UndoReport UndoLog::close()
{
    const Undoing undoing(m_session);
    return end(UndoReport::Ending::Done);
}

UndoReport UndoLog::undo(const Failure &error)
{
    const Undoing undoing(m_session);
    return goBack(doubtAfter(m_session, error));
}

UndoReport UndoLog::undoPending()
{
    m_aim = Aim::GoBack;
    return resume();
}

UndoReport UndoLog::finishPending()
{
    m_aim = Aim::Finish;
    return resume();
}

UndoReport UndoLog::resume()
{
    const Undoing undoing(m_session);
    QStringList names;
    std::vector<SessionVariable> wanted;
    for (const SessionVariables::Entry &entry : m_variables.entries()) {
        names << entry.name;
        wanted.push_back({entry.name, entry.now});
    }
    m_variables = {};
    try {
        m_variables.read(connection(), names);
        if (!m_pendingDatabase.isEmpty())
            m_variables.use(connection(), m_pendingDatabase);
        m_variables.set(connection(), wanted);
    } catch (const Failure &error) {
        return stuck(error);
    }
    return goBack(Doubt::Interrupted);
}

void UndoLog::leave()
{
    const Undoing undoing(m_session);
    try {
        if (m_session.gCn && m_session.gCn->isOpen())
            m_variables.putBack(connection());
    } catch (const Failure &) {
        // What went wrong before says what matters.
    }
    m_lock.reset();
}

void UndoLog::forget()
{
    m_variables = {}; // those of a session that is gone
    end(UndoReport::Ending::Undone);
}

UndoReport UndoLog::goBack(Doubt doubt)
{
    constexpr int mostDoubts = 3;
    for (int doubts = 0; !m_steps.empty(); ++doubts) {
        try {
            if (doubt != Doubt::None)
                settle(doubt);
        } catch (const Failure &error) {
            return stuck(error);
        }
        try {
            release();
            if (m_steps.empty())
                break;
            if (finishes())
                return end(UndoReport::Ending::Done);
            takeBackAll();
        } catch (const Failure &error) {
            doubt = doubtAfter(m_session, error);
            if (doubt == Doubt::None || doubts == mostDoubts)
                return stuck(error);
        }
    }
    return end(UndoReport::Ending::Undone);
}

// Finds out on the server what a statement in doubt has done.
void UndoLog::settle(Doubt doubt)
{
    m_isInDoubt = true;
    if (doubt == Doubt::Interrupted)
        release(); // a lock hides all other tables
    if (doubt == Doubt::AnswerLost) {
        reconnect(m_session, m_place);
        m_variables.setAgain(connection());
        std::erase_if(m_steps, [](const Noted &noted) { return noted.step.isOfSession; });
        if (m_steps.empty())
            return;
    }
    Noted &last = m_steps.back();
    if (last.state == State::InDoubt)
        last.state = isSo(connection(), last.step.isDone) ? State::Done : State::Refused;
    // What has no question of its own is begun again with its group.
    const auto next = static_cast<std::size_t>(std::max(m_nextBack, 0));
    if (next < last.step.back.size() && last.step.back[next].when.statement.isEmpty())
        m_nextBack = std::min(m_nextBack, 0);
    if (last.state != State::Done || !last.step.completes)
        requireHeld();
}

void UndoLog::requireHeld()
{
    for (std::size_t i = 0; i < m_steps.size(); ++i) {
        const bool isUnderWay =
            m_steps[i].state != State::Done || (i + 1 == m_steps.size() && m_nextBack >= 0);
        if (!isUnderWay && !isSo(connection(), m_steps[i].step.holds))
            throw Failure(QStringLiteral("再確認で、あるはずのﾃｰﾌﾞﾙまたは行が見つかりませんでした。"));
    }
}

// Whether the change can only be finished, or is.
bool UndoLog::finishes()
{
    Noted &last = m_steps.back();
    const bool isComplete = last.step.completes && last.state == State::Done;
    // Whoever asks a later start to go back is not to get the rest of the change instead.
    if (!isComplete && (!last.step.isRepeated || m_aim == Aim::GoBack))
        return false;
    try {
        if (!isComplete)
            send(last.step.statement, last.step.with);
        keep(last.step.onceDone, {});
    } catch (const Failure &error) {
        if (last.step.nothingLeft > 0 && error.number() == last.step.nothingLeft) {
            keep(last.step.onceDone, {});
            return true;
        }
        if (doubtAfter(m_session, error) != Doubt::None) {
            last.state = State::InDoubt;
            throw;
        }
        if (m_aim == Aim::Finish)
            throw; // the notes stay
        keep(error.description(), {});
        keep(last.step.untilUndone, {});
    }
    return true;
}

void UndoLog::takeBackAll()
{
    while (!m_steps.empty()) {
        const Noted &last = m_steps.back();
        const auto &back = last.step.back;
        if (last.state != State::Refused) {
            bool isBegun = m_nextBack >= 0;
            for (m_nextBack = std::max(m_nextBack, 0); m_nextBack < static_cast<int>(back.size());
                 ++m_nextBack) {
                // Without its file the undoing is still better than none.
                save();
                takeBack(back[static_cast<std::size_t>(m_nextBack)], isBegun);
                isBegun = true;
            }
        }
        m_steps.pop_back();
        m_nextBack = -1;
    }
}

void UndoLog::takeBack(const WayBack &back, bool isBegun)
{
    if (back.isForDoubt && !m_isInDoubt)
        return;
    if ((m_isInDoubt || back.isAlwaysAsked) && !isSo(connection(), back.when))
        return keep(back.notSent, {});
    if (m_isInDoubt && !isSo(connection(), back.needs)) {
        if (!isBegun)
            m_nextBack = -1; // so that the step can still be finished
        throw Failure(back.notSent.isEmpty()
                          ? QStringLiteral("行が他にあることを確認できないため、中止しました。: ") +
                                back.statement
                          : back.notSent);
    }
    try {
        makeAgain(back);
    } catch (const Failure &error) {
        if (doubtAfter(m_session, error) != Doubt::None)
            throw;
        if (back.nothingThere > 0 && error.number() == back.nothingThere)
            keep(back.remark, {});
        else if (!back.lost.isEmpty())
            keep(back.lost, error.description() + u'\n' + back.statement);
        else
            throw;
    }
}

void UndoLog::makeAgain(const WayBack &back)
{
    bool isMade = false;
    try {
        send(back.statement, back.with);
        isMade = true;
        if (back.show.isEmpty() || isAsBefore(connection(), back, m_session.gDbName))
            return;
    } catch (const Failure &error) {
        if (back.otherwise.isEmpty() || doubtAfter(m_session, error) != Doubt::None)
            throw;
    }
    if (isMade && !back.drop.isEmpty())
        connection().execute(back.drop);
    send(back.otherwise, back.with);
    if (!back.show.isEmpty() && !isAsBefore(connection(), back, m_session.gDbName))
        keep(QStringLiteral("定義が元と異なっています。"), QStringLiteral("元の定義:\n") + back.text);
}

UndoReport UndoLog::end(UndoReport::Ending ending)
{
    try {
        if (m_session.gCn && m_session.gCn->isOpen())
            m_variables.putBack(connection());
    } catch (const Failure &error) {
        if (doubtAfter(m_session, error) == Doubt::None)
            keep(QStringLiteral("セッション変数を元に戻せませんでした。"), error.description());
    }
    m_steps.clear();
    if (!m_path.isEmpty())
        QFile::remove(m_path);
    m_lock.reset();
    return {ending, m_messages.join(u'\n'), m_details.join(u'\n')};
}

UndoReport UndoLog::stuck(const Failure &error)
{
    keep(error.description(), {});
    keep(whenStuck(), {});
    if (!m_path.isEmpty())
        keep(QStringLiteral("続きは、次に接続したときに「終わっていない変更」で行えます。"), {});
    const QStringList statements = pendingStatements();
    if (!statements.isEmpty())
        keep({}, QStringLiteral("元に戻す文:\n") + statements.join(QStringLiteral(";\n")) + u';');
    save(); // with the variables, which whoever goes on later needs again
    leave();
    return {UndoReport::Ending::Stuck, m_messages.join(u'\n'), m_details.join(u'\n')};
}

QStringList UndoLog::pendingStatements() const
{
    QStringList statements;
    for (auto each = m_steps.rbegin(); each != m_steps.rend(); ++each) {
        const Noted &noted = *each;
        if (noted.state == State::Refused)
            continue;
        const bool isLast = &noted == &m_steps.back();
        for (std::size_t i = isLast && m_nextBack > 0 ? static_cast<std::size_t>(m_nextBack) : 0;
             i < noted.step.back.size(); ++i) {
            const WayBack &back = noted.step.back[i];
            if (!back.isForDoubt && !back.isAlwaysAsked)
                statements << (back.otherwise.isEmpty() ? back.statement : back.otherwise);
        }
    }
    return statements;
}

QString UndoLog::finishingStatement() const
{
    const bool canFinish = !m_steps.empty() && m_steps.back().step.isRepeated && m_nextBack < 0;
    return canFinish ? m_steps.back().step.statement : QString();
}

// Of the last step that has words.
QString UndoLog::state(bool hasFailed) const
{
    for (auto each = m_steps.rbegin(); each != m_steps.rend(); ++each) {
        const Step &step = each->step;
        const bool isUnknown = each->state == State::InDoubt && !step.inDoubt.isEmpty();
        const QString words = isUnknown   ? step.inDoubt
                              : hasFailed ? step.notUndone + step.untilUndone
                                          : step.untilUndone;
        if (each->state != State::Refused && !words.isEmpty())
            return words;
    }
    return {};
}

void tellReport(Dialogue &dialogue, const QString &error, const UndoReport &report, bool withTip)
{
    if (report.message.isEmpty())
        return;
    QStringList pieces{error, report.message, report.details};
    pieces.removeAll(QString());
    dialogue.setLastError(pieces.join(u'\n'), withTip);
    dialogue.refuse(report.message);
}
