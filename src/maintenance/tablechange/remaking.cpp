#include "maintenance/tablechange/remaking.h"

#include "core/sql/statements.h"

#include <algorithm>

namespace {

// The account in the server's eyes, as `user`@`host`.
QString ownAccount(Connection &connection)
{
    RecordSet rows = connection.execute(QStringLiteral("select current_user()"));
    if (!rows.isOpen() || rows.isEof())
        return {};
    const QString account = rows.text(0);
    const qsizetype at = account.lastIndexOf(u'@');
    return quotedName(account.left(at)) + u'@' + quotedName(account.mid(at + 1));
}

SqlMode modeOf(const ObjectDefinition &definition, const SessionVariables &present)
{
    if (!definition.sqlMode.isNull())
        return readingMode(definition.sqlMode);
    // A view's literals are always written with escapes, whatever the session says.
    SqlMode mode = readingMode(present.before(QStringLiteral("sql_mode")));
    mode.hasPlainBackslashes = false;
    return mode;
}

const SessionVariables &read(SessionVariables &variables, Connection &connection)
{
    variables.read(connection, definitionVariables());
    return variables;
}

bool isOneOf(int number, std::initializer_list<int> numbers)
{
    return std::ranges::find(numbers, number) != numbers.end();
}

// "%1" is the place of the routine's name.
QString grantOf(const QString &type, const QString &user, const QString &host, const QString &privileges)
{
    QStringList words = privileges.split(u',', Qt::SkipEmptyParts);
    const bool mayGrant = words.removeAll(QStringLiteral("Grant")) > 0;
    // A role of MariaDB has no host; with an empty one it would be read as an account.
    return QStringLiteral("GRANT ") +
           (words.isEmpty() ? QStringLiteral("USAGE") : words.join(QStringLiteral(", "))) +
           QStringLiteral(" ON ") + type + QStringLiteral(" %1 TO ") + quotedName(user) +
           (host.isEmpty() ? QString() : u'@' + quotedName(host)) +
           (mayGrant ? QStringLiteral(" WITH GRANT OPTION") : QString());
}

// MySQL up to 5.6 and MariaDB up to 10.1, which take one trigger of a kind, say so before they look at its
// name and definer.
bool isOneTriggerOnly(const Failure &error, Session &session, const QString &definer)
{
    constexpr int notSupported = 1235;
    if (error.number() != notSupported)
        return false;
    Connection &connection = session.connection();
    const ServerInfo server = connection.server();
    if (server.number >= (server.isMariaDb ? 100203 : 50702))
        return false;
    if (definer.isEmpty())
        return true;
    RecordSet rows = connection.execute(
        QStringLiteral("select 1 from information_schema.user_privileges where privilege_type='SUPER' and "
                       "grantee=concat('''', replace(current_user(), '@', '''@'''), '''')"));
    return rows.isOpen() && !rows.isEof();
}

constexpr int tableExists = 1050, routineExists = 1304, triggerExists = 1359, eventExists = 1537;
constexpr int mayNotNameDefiner = 1227, noSuchUser = 1449;
constexpr int accessDenied = 1044, tableAccessDenied = 1142, columnAccessDenied = 1143,
              routineAccessDenied = 1370, unsafeFunction = 1418, functionNeedsSuper = 1419;

} // namespace

void requireFree(Session &session, const Step &making)
{
    if (!making.isDone.statement.isEmpty() && isSo(session.connection(), making.isDone))
        throw Failure(QStringLiteral("新しい名前のものが、すでにあります。"));
}

Remaking::Remaking(Session &session, UndoLog &log, ObjectDefinition definition)
    : old(std::move(definition))
    , mode(modeOf(old, read(log.variables(), session.connection())))
    , head(headOf(old.text, mode))
    , m_session(session)
    , m_log(log)
    , m_with(sessionFor(old, log.variables()))
{
    const QString present = log.variables().before(QStringLiteral("sql_mode"));
    const QString plain = QStringLiteral("NO_BACKSLASH_ESCAPES");
    if (old.sqlMode.isNull() && present.contains(plain))
        m_with.push_back({QStringLiteral("sql_mode"), quotedText(changedMode(present, {plain}, {}))});
}

void Remaking::keepCharacterSet(const QStringList &statements)
{
    const ServerInfo server = m_session.connection().server();
    const bool isSendable = std::ranges::none_of(statements, [&](const QString &statement) {
        return asSentWith(statement, m_with, server).isEmpty();
    });
    if (!isSendable)
        giveUpCharacterSet();
}

void Remaking::giveUpCharacterSet()
{
    m_notKept << QStringLiteral("文字セット ") + old.characterSet;
    std::erase_if(m_with,
                  [](const SessionVariable &each) { return each.name != QStringLiteral("sql_mode"); });
}

void Remaking::rehearse(const std::function<QString(const QString &)> &remake)
{
    const QString definer = quotedAccount(head.definer);
    if (!definer.isEmpty() && definer != ownAccount(m_session.connection())) {
        try {
            tryAs(definer, remake);
            m_definer = definer;
            return;
        } catch (const Failure &error) {
            if (!isOneOf(error.number(), {mayNotNameDefiner, noSuchUser}))
                throw;
            m_notKept << QStringLiteral("作成者(DEFINER) ") + definer;
        }
    }
    tryAs({}, remake);
}

void Remaking::tryAs(const QString &definer, const std::function<QString(const QString &)> &remake)
{
    try {
        m_log.send(sent(remake(definer)), m_with);
    } catch (const Failure &error) {
        if (isOneOf(error.number(), {tableExists, routineExists, triggerExists, eventExists}) ||
            isOneTriggerOnly(error, m_session, definer))
            return;
        const bool isAboutDefiner = isOneOf(error.number(), {mayNotNameDefiner, noSuchUser});
        if (error.number() == 0 || doubtAfter(m_session, error) != Doubt::None ||
            (isAboutDefiner && !definer.isEmpty()))
            throw;
        if (isAboutDefiner ||
            isOneOf(error.number(), {accessDenied, tableAccessDenied, columnAccessDenied, routineAccessDenied,
                                     unsafeFunction, functionNeedsSuper}))
            throw Failure(QStringLiteral("作り直す権限がないため、変更しません。\n") + error.description());
        // In some modes the server does not take the hex digits.
        if (sent(remake(definer)) != remake(definer)) {
            giveUpCharacterSet();
            return tryAs(definer, remake);
        }
        m_notKept << QStringLiteral("今の定義 (失敗すると元に戻せません): ") + error.description();
    }
}

void Remaking::keepRights(const QString &type, const QString &database, const QString &name)
{
    Connection &connection = m_session.connection();
    QStringList rights, orphans;
    try {
        RecordSet rows = connection.execute(
            QStringLiteral("select p.User, p.Host, p.Proc_priv, (select count(*) from mysql.user u where "
                           "u.User=p.User and u.Host=p.Host) from mysql.procs_priv p where p.Db=%1 and "
                           "p.Routine_name=%2 and p.Routine_type='%3' order by p.User, p.Host")
                .arg(quotedText(database), quotedText(name), type));
        for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
            // Some servers would make an account that is gone.
            (rows.text(3) == u"0" ? orphans : rights)
                << grantOf(type, rows.text(0), rows.text(1), rows.text(2));
    } catch (const Failure &error) {
        if (doubtAfter(m_session, error) != Doubt::None)
            throw;
        m_notKept << QStringLiteral("他のアカウントの権限 (読めません)");
        return;
    }
    for (const QString &right : rights) {
        try {
            // Who has it already is given nothing; it shows whether this account may give it.
            connection.execute(right.arg(quotedName(database, name)));
            m_rights << right;
        } catch (const Failure &error) {
            if (doubtAfter(m_session, error) != Doubt::None)
                throw;
            orphans << right;
        }
    }
    for (const QString &right : orphans)
        m_notKept << right.arg(quotedName(database, name));
}

QStringList Remaking::grants(const QString &routine) const
{
    QStringList statements;
    for (const QString &right : m_rights)
        statements << right.arg(routine);
    return statements;
}

void Remaking::keepDatabaseCollation(const QString &database)
{
    RecordSet rows = m_session.connection().execute(
        QStringLiteral("select DEFAULT_COLLATION_NAME from information_schema.SCHEMATA where SCHEMA_NAME=") +
        quotedText(database));
    if (rows.isOpen() && !rows.isEof() && !old.databaseCollation.isEmpty() &&
        rows.text(0) != old.databaseCollation)
        m_notKept << QStringLiteral("照合順序 ") + old.databaseCollation;
}

bool Remaking::isLossAccepted(Dialogue &dialogue) const
{
    return m_notKept.isEmpty() ||
           dialogue.warn(
               QStringLiteral("変更すると、次のものは元のままになりません。\n\n%1\n\n変更しますか。")
                   .arg(m_notKept.join(u'\n')));
}

Step Remaking::step(const QString &statement) const
{
    Step step;
    step.statement = sent(statement);
    step.with = m_with;
    return step;
}

WayBack Remaking::wayBack(const QString &statement) const
{
    WayBack back{sent(statement)};
    back.with = m_with;
    back.text = old.text;
    return back;
}

QString Remaking::sent(const QString &statement) const
{
    const QString text = asSentWith(statement, m_with, m_session.connection().server());
    return text.isEmpty() ? statement : text;
}
