#include "maintenance/tablechange/viewchange.h"

#include "core/command/showntext.h"
#include "core/sql/statements.h"
#include "maintenance/tablechange/remaking.h"

#include <QRegularExpression>

namespace {

// Without the database before names: the server leaves the default database's out of what it shows, and the
// console may have chosen another one since.
QString withoutDatabase(const QString &text, const QString &database)
{
    return QString(text).remove(
        QRegularExpression(QStringLiteral("(?<![\\w$.`])`?%1`?\\.").arg(QRegularExpression::escape(database)),
                           QRegularExpression::UseUnicodePropertiesOption));
}

// As it is with the view's database as the default one, which it is over a new connection, too.
ObjectDefinition readIn(Session &session, UndoLog &log, const QString &showStatement)
{
    log.variables().use(session.connection(), session.gDbName);
    return readDefinition(session.connection(), showStatement);
}

// ALTER VIEW knows no IF NOT EXISTS.
QString fromName(const QString &tail)
{
    static const QRegularExpression condition(QStringLiteral("^\\s+if\\s+not\\s+exists(?=[\\s`\"])"),
                                              QRegularExpression::CaseInsensitiveOption);
    return QString(tail).remove(condition);
}

// Where the view's name ends that the text's tail begins with.
qsizetype endOfName(const QString &tail, SqlMode mode)
{
    qsizetype end = 0;
    bool isPartWanted = true;
    for (SqlLexer lexer(tail, mode); !lexer.isAtEnd();) {
        const Token token = lexer.next();
        if (token.kind == TokenKind::Blank || token.kind == TokenKind::Comment)
            continue;
        const bool isDot = QStringView(tail).mid(token.start, token.length) == u".";
        if (isDot == isPartWanted)
            break;
        isPartWanted = isDot;
        end = token.start + token.length;
    }
    return end;
}

// One view under change, told by its steps.
class ViewChange {
public:
    ViewChange(CommandContext &context, const QString &showStatement);
    Outcome run();

private:
    std::optional<Outcome> prepare();
    void send();
    bool isShown(const QString &text) const;
    QStringList lost() const;
    QString oldStatement(const QString &verb, const QString &definer) const;
    QString newName() const { return m_newTail.left(endOfName(m_newTail, m_remaking.mode)).trimmed(); }
    Step dropping() const;
    Step creating() const;
    void giveAttributes();

    CommandContext &m_context;
    const Selection &m_selection;
    const QString m_show;
    const QString m_view = qualifiedName(m_context.session.gDbName, m_selection.lblTableName);
    UndoLog m_log;
    Remaking m_remaking;
    DefinitionHead m_newHead;
    QString m_newTail;
};

ViewChange::ViewChange(CommandContext &context, const QString &showStatement)
    : m_context(context)
    , m_selection(context.selection)
    , m_show(showStatement)
    , m_log(context.session, QStringLiteral("VIEW %1 の変更").arg(m_view))
    , m_remaking(context.session, m_log, readIn(context.session, m_log, showStatement))
    , m_newHead(headOf(m_selection.txtField, m_remaking.mode))
    , m_newTail(m_newHead.keyword == u"VIEW" ? fromName(m_selection.txtField.mid(m_newHead.tail)) : QString())
{
}

bool ViewChange::isShown(const QString &text) const
{
    const QString &database = m_context.session.gDbName;
    return withoutDatabase(text, database) == withoutDatabase(m_selection.lblCreateTable, database);
}

QStringList ViewChange::lost() const
{
    if (isShown(withCrLf(m_remaking.old.text)))
        return {}; // it is the server's own text that is edited
    if (!isShown(shownCreateText(QStringLiteral("View"), m_remaking.old.text)))
        throw Failure(
            QStringLiteral("VIEWの定義は表示した後に変更されています。一覧から選択し直して下さい。"));
    const QString &database = m_context.session.gDbName;
    return lostInShownText(m_context.session.connection(),
                           QStringLiteral("CREATE VIEW") + withoutDatabase(m_remaking.oldTail(), database),
                           withoutDatabase(m_selection.lblCreateTable, database), m_selection.txtField,
                           m_remaking.mode);
}

// The server's own text behind "CREATE" or "CREATE OR REPLACE"; its attributes are said anew.
QString ViewChange::oldStatement(const QString &verb, const QString &definer) const
{
    const DefinitionHead &head = m_remaking.head;
    QString text = verb;
    if (!head.algorithm.isEmpty())
        text += QStringLiteral(" ALGORITHM=") + head.algorithm;
    if (!definer.isEmpty())
        text += QStringLiteral(" DEFINER=") + definer;
    if (!head.security.isEmpty())
        text += QStringLiteral(" SQL SECURITY ") + head.security;
    return text + QStringLiteral(" VIEW") + m_remaking.oldTail();
}

// No value: the change goes on, else the command ends with it.
std::optional<Outcome> ViewChange::prepare()
{
    if (auto ending = askAboutLosses(m_context, lost(), Reload::OwnTableText))
        return ending;
    m_remaking.keepCharacterSet({m_selection.txtField, m_remaking.old.text});
    m_remaking.rehearse(
        [this](const QString &definer) { return oldStatement(QStringLiteral("CREATE"), definer); });
    if (!m_remaking.isLossAccepted(m_context.dialogue))
        return Outcome();
    return {};
}

Step ViewChange::dropping() const
{
    Step step{QStringLiteral("drop view ") + m_view};
    step.isDone = isMissing(m_show);
    step.notUndone =
        QStringLiteral("VIEW %1 を確認して下さい。元に戻せていない可能性があります。").arg(m_view);
    WayBack back = m_remaking.wayBack(m_selection.lblCreateTable);
    back.when = isMissing(m_show);
    back.show = m_show;
    back.otherwise =
        m_remaking.wayBack(oldStatement(QStringLiteral("CREATE OR REPLACE"), m_remaking.definer())).statement;
    step.back = {back};
    return step;
}

Step ViewChange::creating() const
{
    Step step = m_remaking.step(m_selection.txtField);
    const QString name = newName();
    if (!name.isEmpty()) {
        step.isDone = isThere(showCreateTable(name));
        // What the user's own text replaces does not come back by a drop.
        if (!m_newHead.replaces)
            step.back = {{QStringLiteral("drop view ") + name}};
    }
    return step;
}

// What neither the text nor the old view's text says is the new view's as it was the old one's.
void ViewChange::giveAttributes()
{
    const QString name = newName();
    if (name.isEmpty())
        return;
    const ObjectDefinition made = readDefinition(m_context.session.connection(), showCreateTable(name));
    const DefinitionHead now = headOf(made.text, m_remaking.mode);
    const DefinitionHead &old = m_remaking.head;
    const auto wanted = [](const QString &said, const QString &before) {
        return said.isEmpty() ? before : said;
    };
    const QString algorithm = wanted(m_newHead.algorithm, old.algorithm);
    const QString definer =
        m_newHead.definer.isEmpty() ? m_remaking.definer() : quotedAccount(m_newHead.definer);
    const QString security = wanted(m_newHead.security, old.security);
    const bool isSo = algorithm.compare(now.algorithm, Qt::CaseInsensitive) == 0 &&
                      security.compare(now.security, Qt::CaseInsensitive) == 0 &&
                      (definer.isEmpty() || definer == quotedAccount(now.definer));
    if (isSo || made.text.isEmpty())
        return;
    m_log.execute(m_remaking.step(QStringLiteral("ALTER ALGORITHM=") + algorithm +
                                  (definer.isEmpty() ? QString() : QStringLiteral(" DEFINER=") + definer) +
                                  QStringLiteral(" SQL SECURITY ") + security + QStringLiteral(" VIEW") +
                                  m_newTail));
}

void ViewChange::send()
{
    m_context.dialogue.progress(3, 1);
    m_log.open();
    m_log.execute(dropping());
    m_context.dialogue.progress(3, 2);
    const Step step = creating();
    const QString name = withoutBackticks(withoutDatabase(newName(), m_context.session.gDbName));
    if (name != m_selection.lblTableName && !m_newHead.replaces)
        requireFree(m_context.session, step);
    m_log.execute(step);
    giveAttributes();
    m_context.dialogue.progress(3, 3);
}

Outcome ViewChange::run()
{
    try {
        m_context.dialogue.progress(3, 0);
        if (const auto ending = prepare()) {
            m_log.close();
            return *ending;
        }
        send();
    } catch (const Failure &error) {
        return endFailedChange(m_context, error, [&] { return m_log.undo(error); });
    }
    return endChange(m_context, m_log.close());
}

} // namespace

Outcome endFailedChange(CommandContext &context, const Failure &error,
                        const std::function<UndoReport()> &undo)
{
    context.dialogue.setLastError(error.description(), true);
    context.session.gRs.close();
    // No table is missing while a box waits.
    const UndoReport report = undo();
    context.dialogue.refuse(QStringLiteral("ﾃｰﾌﾞﾙの変更に失敗しました。"));
    tellReport(context.dialogue, error.description(), report, true);
    context.dialogue.progressBar(0);
    return {};
}

Outcome endChange(CommandContext &context, const UndoReport &afterwards)
{
    context.dialogue.progressBar(1);
    context.session.gRs.close();
    context.dialogue.inform(QStringLiteral("変更しました。"));
    tellReport(context.dialogue, {}, afterwards, true);
    return {Reload::Objects};
}

Outcome changeView(CommandContext &context, const QString &showStatement)
{
    try {
        ViewChange change(context, showStatement);
        return change.run();
    } catch (const Failure &error) {
        // Nothing has been changed.
        return endFailedChange(context, error, [] { return UndoReport(); });
    }
}
