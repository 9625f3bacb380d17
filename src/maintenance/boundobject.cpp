#include "maintenance/boundobject.h"

#include "core/command/writing.h"
#include "core/sql/statements.h"
#include "maintenance/tablechange/remaking.h"

namespace {

QString keyword(const BoundObject &object)
{
    return object.isTrigger ? QStringLiteral("TRIGGER") : QStringLiteral("EVENT");
}

QString titleOf(const BoundObject &object)
{
    return (object.isTrigger ? QStringLiteral("ﾄﾘｶﾞｰ ") : QStringLiteral("ｲﾍﾞﾝﾄ ")) +
           quotedName(object.database, object.name);
}

QString showStatement(const BoundObject &object)
{
    return QStringLiteral("SHOW CREATE %1 %2").arg(keyword(object), quotedName(object.database, object.name));
}

QString dropStatement(const BoundObject &object)
{
    return QStringLiteral("DROP %1 %2").arg(keyword(object), quotedName(object.database, object.name));
}

ObjectDefinition readReadable(Session &session, const BoundObject &object)
{
    ObjectDefinition definition = readDefinition(session.connection(), showStatement(object));
    if (definition.text.isEmpty())
        throw Failure(QStringLiteral("定義を読む権限がありません: ") + titleOf(object));
    return definition;
}

// What the text behind the keyword makes; where it names no database, in the other's.
BoundObject objectIn(const QString &tail, SqlMode mode, const BoundObject &beside)
{
    QStringList names;
    for (const Token &token : sqlTokens(tail, mode)) {
        const QString written = tail.mid(token.start, token.length);
        if (token.kind == TokenKind::Blank || token.kind == TokenKind::Comment || written == u".")
            continue;
        const bool goesOn = names.isEmpty() || tail.left(token.start).trimmed().endsWith(u'.');
        if (!goesOn || (token.kind != TokenKind::Name && token.kind != TokenKind::Word))
            break;
        const QChar quote = written[0];
        names << (token.kind == TokenKind::Name
                      ? written.sliced(1, written.size() - 2).replace(QString(2, quote), QString(quote))
                      : written);
    }
    return {beside.isTrigger, names.size() > 1 ? names[0] : beside.database, names.value(names.size() - 1)};
}

// A server makes no such event, and says so in a note only.
const QString eventIsOver = QStringLiteral("日時が過ぎたｲﾍﾞﾝﾄ (ON COMPLETION NOT PRESERVE) は、作っても、"
                                           "サーバーがすぐに消します。");

// One trigger or event under change, told by its steps.
class BoundChange {
public:
    BoundChange(Session &session, Dialogue &dialogue, const BoundObject &object, const QString &text);
    bool run(const QString &shownText);

private:
    // The server keeps the keyword as it was written.
    QString create(const QString &tail, const QString &definer) const
    {
        const qsizetype length = m_remaking.head.keyword.size();
        return QStringLiteral("CREATE ") +
               (definer.isEmpty() ? QString() : QStringLiteral("DEFINER=") + definer + u' ') +
               m_remaking.old.text.sliced(m_remaking.head.tail - length, length) + u' ' + tail;
    }
    QString oldTail() const { return m_remaking.oldTail().trimmed(); }
    bool isOrderAccepted();
    void requireNotOver();
    std::vector<SessionVariable> withZone(std::vector<SessionVariable> with) const;
    Step dropping() const;
    Step creating() const;

    Session &m_session;
    Dialogue &m_dialogue;
    const BoundObject &m_object;
    UndoLog m_log;
    Remaking m_remaking;
    QString m_newTail;
    BoundObject m_new;
};

BoundChange::BoundChange(Session &session, Dialogue &dialogue, const BoundObject &object, const QString &text)
    : m_session(session)
    , m_dialogue(dialogue)
    , m_object(object)
    , m_log(session, titleOf(object) + QStringLiteral(" の変更"))
    , m_remaking(session, m_log, readReadable(session, object))
{
    const DefinitionHead head = headOf(text, m_remaking.mode);
    if (head.tail < 0 || head.keyword != keyword(object))
        throw Failure(QStringLiteral("CREATE %1 の文ではありません。").arg(keyword(object)));
    m_newTail = text.mid(head.tail).trimmed();
    m_new = objectIn(m_newTail, m_remaking.mode, object);
}

// Dropped, it could not be made again. Where the scheduler is off, it is still there.
void BoundChange::requireNotOver()
{
    RecordSet rows = m_session.connection().execute(
        QStringLiteral("select 1 from information_schema.events where event_schema=%1 and event_name=%2 and "
                       "on_completion='NOT PRESERVE' and coalesce(execute_at, ends)<="
                       "convert_tz(utc_timestamp(), '+00:00', time_zone)")
            .arg(quotedText(m_object.database), quotedText(m_object.name)));
    if (rows.isOpen() && !rows.isEof())
        throw Failure(
            eventIsOver +
            QStringLiteral("\n変更しません。日時を改めるには、SQLシートで ALTER EVENT を実行して下さい。"));
}

// A trigger that is made again runs behind the others of its kind; no text says where it stood.
bool BoundChange::isOrderAccepted()
{
    if (!m_object.isTrigger)
        return true;
    RecordSet rows = m_session.connection().execute(
        QStringLiteral("select o.trigger_name from information_schema.triggers t join "
                       "information_schema.triggers o on o.event_object_schema=t.event_object_schema and "
                       "o.event_object_table=t.event_object_table and "
                       "o.event_manipulation=t.event_manipulation and o.action_timing=t.action_timing and "
                       "o.action_order>t.action_order where t.trigger_schema=%1 and t.trigger_name=%2")
            .arg(quotedText(m_object.database), quotedText(m_object.name)));
    QStringList later;
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        later << rows.text(0);
    return later.isEmpty() ||
           m_dialogue.warn(QStringLiteral("変更すると、次のﾄﾘｶﾞｰより後に動くようになります。\n\n%1\n\n"
                                          "変更しますか。")
                               .arg(later.join(u'\n')));
}

// The times of an event are those of the zone that it was made in.
std::vector<SessionVariable> BoundChange::withZone(std::vector<SessionVariable> with) const
{
    const QString &zone = m_remaking.old.timeZone;
    if (!zone.isEmpty() && zone != m_log.variables().before(QStringLiteral("time_zone")))
        with.push_back({QStringLiteral("time_zone"), quotedText(zone)});
    return with;
}

Step BoundChange::dropping() const
{
    Step step{dropStatement(m_object)};
    step.isDone = isMissing(showStatement(m_object));
    step.notUndone =
        titleOf(m_object) + QStringLiteral(" を確認して下さい。元に戻せていない可能性があります。");
    WayBack back = m_remaking.wayBack(create(oldTail(), m_remaking.definer()));
    back.when = isMissing(showStatement(m_object));
    back.show = showStatement(m_object);
    back.drop = dropStatement(m_object);
    back.otherwise = back.statement;
    back.with = withZone(back.with);
    step.back.push_back(back);
    return step;
}

Step BoundChange::creating() const
{
    Step step = m_remaking.step(create(m_newTail, m_remaking.definer()));
    step.with = withZone(step.with);
    step.isDone = isThere(showStatement(m_new));
    step.back = {{dropStatement(m_new)}};
    if (!m_object.isTrigger)
        step.notDone = eventIsOver;
    step.completes = true;
    step.onceDone = titleOf(m_object) + QStringLiteral(" の変更は済んでいます。");
    return step;
}

bool BoundChange::run(const QString &shownText)
{
    if (m_remaking.old.text != withLf(shownText))
        throw Failure(QStringLiteral("定義は表示した後に変更されています。開き直して下さい。"));
    if (!isOrderAccepted())
        return false;
    if (!m_object.isTrigger)
        requireNotOver();
    if (!m_remaking.old.timeZone.isEmpty())
        m_log.variables().read(m_session.connection(), {QStringLiteral("time_zone")});
    m_remaking.keepDatabaseCollation(m_object.database);
    m_remaking.keepCharacterSet({m_newTail, oldTail()});
    // The texts name their table without its database.
    m_log.variables().use(m_session.connection(), m_object.database);
    m_remaking.rehearse([this](const QString &definer) { return create(oldTail(), definer); });
    if (!m_remaking.isLossAccepted(m_dialogue)) {
        m_log.close();
        return false;
    }
    UndoReport report;
    try {
        m_log.open();
        m_log.execute(dropping());
        const Step step = creating();
        if (m_new.name != m_object.name)
            requireFree(m_session, step);
        m_log.execute(step);
    } catch (const Failure &error) {
        report = m_log.undo(error);
        m_dialogue.setLastError(error.description(), false);
        m_dialogue.refuse(QStringLiteral("変更に失敗しました。\r\n") + error.description());
        tellReport(m_dialogue, error.description(), report, false);
        return report.ending == UndoReport::Ending::Done;
    }
    report = m_log.close();
    tellReport(m_dialogue, {}, report, false);
    return true;
}

template <class Action>
bool told(Dialogue &dialogue, const QString &what, Action action)
{
    try {
        return action();
    } catch (const Failure &error) {
        dialogue.setLastError(error.description(), false);
        dialogue.refuse(what + QStringLiteral("に失敗しました。\r\n") + error.description());
        return false;
    }
}

} // namespace

QString readBoundObject(Session &session, const BoundObject &object)
{
    return withCrLf(readReadable(session, object).text);
}

QString newBoundText(bool isTrigger, const QString &table)
{
    return withCrLf(isTrigger ? QStringLiteral("CREATE TRIGGER 名前\nBEFORE INSERT ON %1\nFOR EACH ROW\n"
                                               "BEGIN\n  SET NEW.列 = 値;\nEND")
                                    .arg(quotedName(table))
                              : QStringLiteral("CREATE EVENT 名前\nON SCHEDULE EVERY 1 DAY\nDO\nBEGIN\n  \n"
                                               "END"));
}

bool createBoundObject(Session &session, Dialogue &dialogue, const BoundObject &object, const QString &text)
{
    return told(dialogue, QStringLiteral("作成"), [&] {
        if (headOf(text, {}).keyword != keyword(object))
            throw Failure(QStringLiteral("CREATE %1 の文ではありません。").arg(keyword(object)));
        if (!mayWrite(session, dialogue))
            return false;
        // The text names its table without its database.
        SessionVariables variables;
        variables.use(session.connection(), object.database);
        std::optional<Failure> failure;
        try {
            session.connection().execute(withLf(text));
        } catch (const Failure &error) {
            failure = error;
        }
        {
            const Undoing undoing(session);
            variables.putBack(session.connection());
        }
        if (failure)
            throw Failure(*failure);
        const QString written = withLf(text);
        const BoundObject made = objectIn(written.mid(headOf(written, {}).tail), {}, object);
        if (!made.isTrigger && !made.name.isEmpty() &&
            !isSo(session.connection(), isThere(showStatement(made))))
            throw Failure(eventIsOver);
        return true;
    });
}

bool changeBoundObject(Session &session, Dialogue &dialogue, const BoundObject &object,
                       const QString &shownText, const QString &text)
{
    return told(dialogue, QStringLiteral("変更"), [&] {
        return dialogue.confirm(titleOf(object) + QStringLiteral(" を変更します。"), Icon::Critical) &&
               mayWrite(session, dialogue) &&
               BoundChange(session, dialogue, object, withLf(text)).run(shownText);
    });
}

bool dropBoundObject(Session &session, Dialogue &dialogue, const BoundObject &object)
{
    return told(dialogue, QStringLiteral("削除"), [&] {
        if (!dialogue.warn(QStringLiteral("サーバー %1 の %2 を削除します。")
                               .arg(serverName(session), titleOf(object))) ||
            !mayWrite(session, dialogue))
            return false;
        session.connection().execute(dropStatement(object));
        return true;
    });
}
