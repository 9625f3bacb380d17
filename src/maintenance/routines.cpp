#include "maintenance/routines.h"

#include "core/command/showntext.h"
#include "core/sql/names.h"
#include "core/sql/statements.h"
#include "maintenance/tablechange/remaking.h"

namespace {

const QString failed = QStringLiteral("変更に失敗しました。");

QString keywordOf(const QString &kind)
{
    return kind == u"[PROC]" ? QStringLiteral("PROCEDURE") : QStringLiteral("FUNCTION");
}

QString dropStatement(const QString &kind, const QString &qualifiedRoutine)
{
    return QStringLiteral("DROP ") + keywordOf(kind) + u' ' + qualifiedRoutine;
}

// What stands behind the keyword of the user's text. Without one the text is cut at a senseless place; the
// server then refuses it.
QString tailOf(const QString &kind, const QString &text)
{
    const QString keyword = keywordOf(kind);
    const QString trimmed = trimmedBlanks(text);
    return trimmedBlanks(trimmed.mid(trimmed.indexOf(keyword, 0, Qt::CaseInsensitive) + keyword.size()));
}

// The name that a text's tail begins with; in backticks where it is quoted.
QString nameIn(const QString &tail, SqlMode mode)
{
    if (tail.isEmpty())
        return {};
    const Token first = SqlLexer(tail, mode).next();
    const QString written = tail.mid(first.start, first.length);
    return first.kind == TokenKind::Name ? quotedAccount(written) : written;
}

QString createStatement(const QString &kind, const QString &qualifiedTail, const QString &definer = {},
                        bool isAggregate = false)
{
    return QStringLiteral("CREATE ") +
           (definer.isEmpty() ? QString() : QStringLiteral("DEFINER=") + definer + u' ') +
           (isAggregate ? QStringLiteral("AGGREGATE ") : QString()) + keywordOf(kind) + u' ' + qualifiedTail;
}

ObjectDefinition readReadable(Connection &connection, const QString &showStatement)
{
    ObjectDefinition definition = readDefinition(connection, showStatement);
    // The text that was shown has lost its backticks; only the server's surely brings the routine back.
    if (definition.text.isEmpty())
        throw Failure(QStringLiteral("定義を読む権限がなく、失敗すると元に戻せないため、変更しません。"));
    return definition;
}

// One routine under change, told by its steps.
class RoutineChange {
public:
    RoutineChange(CommandContext &context, const ListItem &routine);
    Outcome run();

private:
    QString oldStatement(const QString &tail, const QString &definer) const;
    QString dropped(const QString &name) const
    {
        return dropStatement(m_kind, qualifiedName(m_database, name));
    }
    QString shown(const QString &name) const { return routineShowStatement(m_kind, m_database, name); }
    void requireAsShown() const;
    void prepare();
    Step dropping() const;
    Step creating() const;
    void send();
    Outcome end(const UndoReport &report, const QString &error);

    CommandContext &m_context;
    const Selection &m_selection;
    const QString m_kind, m_database, m_name;
    UndoLog m_log;
    Remaking m_remaking;
    const bool m_isOwnText;    // the user edits the server's own text, quotes and all
    const QString m_oldTail;   // behind the keyword, as the server writes it
    const QString m_shownTail; // the same as it was shown
    QString m_newTail, m_newName;
    bool m_isNewAggregate = false;
};

RoutineChange::RoutineChange(CommandContext &context, const ListItem &routine)
    : m_context(context)
    , m_selection(context.selection)
    , m_kind(routine.tag)
    , m_database(m_selection.database)
    , m_name(routine.name)
    , m_log(context.session, QStringLiteral("ﾙｰﾁﾝ %1 の変更").arg(qualifiedName(m_database, m_name)))
    , m_remaking(context.session, m_log, readReadable(context.session.connection(), shown(m_name)))
    , m_isOwnText(m_selection.lblCreateProc == withCrLf(m_remaking.old.text))
    , m_oldTail(trimmedBlanks(m_remaking.oldTail()))
    , m_shownTail(m_isOwnText ? m_oldTail : tailOf(m_kind, withLf(m_selection.lblCreateProc)))
{
    const QString text = trimmedBlanks(withLf(m_selection.txtProc));
    const DefinitionHead head = headOf(text, m_remaking.mode);
    m_newTail = m_isOwnText && head.tail >= 0 ? trimmedBlanks(text.mid(head.tail)) : tailOf(m_kind, text);
    m_isNewAggregate = head.isAggregate;
    m_newName = nameIn(m_newTail, m_remaking.mode);
}

QString RoutineChange::oldStatement(const QString &tail, const QString &definer) const
{
    return createStatement(m_kind, qualifiedName(m_database, tail), definer, m_remaking.head.isAggregate);
}

void RoutineChange::requireAsShown() const
{
    // The head is kept as it is now, whatever it was then.
    if (!m_isOwnText && withLf(tailOf(m_kind, shownRoutineText(m_remaking.old.text))) != m_shownTail)
        throw Failure(QStringLiteral("定義は表示した後に変更されています。一覧から選択し直して下さい。"));
}

// What is asked of the server and the user before anything is changed.
void RoutineChange::prepare()
{
    m_remaking.keepRights(keywordOf(m_kind), m_database, m_name);
    m_remaking.keepDatabaseCollation(m_database);
    m_remaking.keepCharacterSet({m_newTail, m_oldTail});
    m_remaking.rehearse([this](const QString &definer) { return oldStatement(m_oldTail, definer); });
}

Step RoutineChange::dropping() const
{
    const QString &definer = m_remaking.definer();
    Step step{dropped(m_name)};
    step.isDone = isMissing(shown(m_name));
    step.notUndone = QStringLiteral("ﾙｰﾁﾝ %1 を確認して下さい。元に戻せていない可能性があります。")
                         .arg(qualifiedName(m_database, m_name));
    WayBack back = m_remaking.wayBack(oldStatement(m_shownTail, definer));
    back.when = isMissing(shown(m_name));
    back.show = shown(m_name);
    back.drop = dropped(m_name);
    back.otherwise = m_remaking.wayBack(oldStatement(m_oldTail, definer)).statement;
    step.back.push_back(back);
    for (const QString &grant : m_remaking.grants(quotedName(m_database, m_name))) {
        step.back.push_back({grant});
        step.back.back().lost = QStringLiteral("権限を元に戻せませんでした。");
    }
    return step;
}

Step RoutineChange::creating() const
{
    Step step = m_remaking.step(createStatement(m_kind, qualifiedName(m_database, m_newTail),
                                                m_remaking.definer(), m_isNewAggregate));
    step.isDone = isThere(shown(m_newName));
    step.back = {{dropped(m_newName)}};
    step.completes = m_remaking.grants({}).isEmpty();
    step.onceDone = QStringLiteral("ﾙｰﾁﾝ %1 の変更は済んでいます。").arg(qualifiedName(m_database, m_name));
    return step;
}

void RoutineChange::send()
{
    m_log.open();
    m_log.execute(dropping());
    const Step step = creating();
    if (withoutBackticks(m_newName) != m_name)
        requireFree(m_context.session, step);
    m_log.execute(step);
    for (const QString &grant : m_remaking.grants(qualifiedName(m_database, m_newName)))
        m_log.execute({grant});
}

Outcome RoutineChange::run()
{
    requireAsShown();
    if (!m_isOwnText) {
        const QStringList lost = lostInShownText(m_context.session.connection(), m_oldTail, m_shownTail,
                                                 m_newTail, m_remaking.mode);
        if (const auto ending = askAboutLosses(m_context, lost, Reload::OwnRoutineText))
            return *ending;
    }
    prepare();
    if (!m_remaking.isLossAccepted(m_context.dialogue))
        return {};
    try {
        send();
    } catch (const Failure &error) {
        return end(m_log.undo(error), error.description());
    }
    return end(m_log.close(), {});
}

Outcome RoutineChange::end(const UndoReport &report, const QString &error)
{
    if (error.isNull()) {
        m_context.dialogue.inform(QStringLiteral("変更しました。"));
    } else {
        m_context.dialogue.setLastError(error, false);
        m_context.dialogue.refuse(failed);
    }
    tellReport(m_context.dialogue, error, report, false);
    return {error.isNull() ? Reload::Objects : Reload::Nothing};
}

} // namespace

QString routineShowStatement(const QString &kind, const QString &database, const QString &name)
{
    return (kind == u"[PROC]" ? QStringLiteral("show create procedure ")
                              : QStringLiteral("show create function ")) +
           qualifiedName(database, name) + u';';
}

QString shownRoutineText(const QString &serverText)
{
    return withoutBackticks(withCrLf(serverText));
}

QString createRoutineStatement(const QString &kind, const QString &database, const QString &text)
{
    return createStatement(kind, qualifiedName(database, tailOf(kind, text)));
}

Outcome changeRoutine(CommandContext &context)
{
    const Selection &selection = context.selection;
    if (trimmedBlanks(selection.txtProc).isEmpty())
        return {};
    try {
        const ListItem routine = ListItem::required(selection.routine);
        if (!context.dialogue.confirm(selection.routine + QStringLiteral("を変更します。"), Icon::Critical))
            return {};
        requireOwnName(selection.database, routine.name);
        return RoutineChange(context, routine).run();
    } catch (const Failure &error) {
        // Nothing has been changed.
        context.dialogue.setLastError(error.description(), false);
        context.dialogue.refuse(failed);
        return {};
    }
}

Outcome dropRoutine(CommandContext &context)
{
    const ListItem routine = ListItem::required(context.selection.routine);
    if (!context.dialogue.confirm(context.selection.routine + QStringLiteral("を削除します。"),
                                  Icon::Critical))
        return {};
    requireOwnName(context.selection.database, routine.name);
    context.session.connection().execute(
        dropStatement(routine.tag, qualifiedName(context.selection.database, routine.name)));
    context.dialogue.inform(QStringLiteral("削除しました。"));
    return {Reload::Objects};
}
