#include "users/accountnote.h"

namespace {

QString shown(const Account &account)
{
    return QStringLiteral("ﾕｰｻﾞｰ %1@%2 ").arg(account.user, account.host);
}

} // namespace

AccountNote::AccountNote(Session &session, const Account &account, const QString &what)
    : m_session(session)
    , m_account(account)
    , m_log(session, shown(account) + what)
{
}

AccountNote::~AccountNote()
{
    if (!m_isClosed)
        m_log.leave();
}

Rights AccountNote::open()
{
    // The statements have hosts in double quotes, which must not be names of columns; the user's own SQL, or
    // a mode that stands for several, may have made them so.
    const QString mode = QStringLiteral("sql_mode");
    m_log.variables().read(m_session.connection(), {mode, QStringLiteral("sql_select_limit"),
                                                    QStringLiteral("autocommit")}); // at once
    const QString plain =
        changedMode(m_log.variables().before(mode),
                    {QStringLiteral("ANSI_QUOTES"), QStringLiteral("ANSI"), QStringLiteral("ORACLE"),
                     QStringLiteral("MSSQL"), QStringLiteral("DB2"), QStringLiteral("POSTGRESQL"),
                     QStringLiteral("MAXDB")},
                    {});
    m_log.open({{mode, variableLiteral(plain)}});
    const Rights own = readOwnRights(m_session);
    // With RELOAD, or MySQL 9's FLUSH_PRIVILEGES, it may. Else the server is asked by sending it: a role may
    // give the right.
    const QString reload = QStringLiteral("RELOAD"), flush = QStringLiteral("FLUSH_PRIVILEGES");
    if (own.isTold && !own.names.contains(reload) && !own.names.contains(flush))
        m_session.connection().execute(flushPrivileges());
    return own;
}

void AccountNote::close()
{
    m_isClosed = true;
    m_log.close();
}

// MySQL 5.6 makes an account that is not there, without a password. Rows that were deleted are known to the
// server as long as it does not read its tables again.
WayBack AccountNote::needsAccount() const
{
    WayBack back{flushPrivileges()};
    back.needs = isThere(QStringLiteral("select 1 from mysql.user where user = '") + m_account.user +
                         QStringLiteral("' and host = '") + m_account.host + u'\'');
    back.notSent = shown(m_account) + QStringLiteral("はもうありません。権限は戻せません。");
    return back;
}

void AccountNote::write(const QStringList &grants, const Scope &scope, const QStringList &surplus,
                        const QString &state)
{
    if (grants.isEmpty())
        return;
    Step step;
    step.back.push_back(needsAccount());
    for (const QString &right : surplus) {
        // Of a right that is held elsewhere only, MySQL's partial revokes would make an exception.
        for (const QString &statement : revokeStatements(m_account, scope, {right})) {
            WayBack back{statement};
            back.when = holdsRight(m_account, scope, right);
            back.lost = QStringLiteral("増えた権限を外せませんでした。");
            step.back.push_back(std::move(back));
        }
    }
    step.untilUndone = state;
    note(std::move(step), grants);
}

void AccountNote::writeRemoval(const QStringList &grants, const QString &dropStatement)
{
    Step step;
    step.statement = dropStatement;
    step.isRepeated = true;
    constexpr int noSuchAccount = 1396;
    step.nothingLeft = noSuchAccount;
    step.onceDone = shown(m_account) + QStringLiteral("を削除しました。");
    step.back.push_back(needsAccount());
    step.untilUndone = QStringLiteral("権限を消し、最後にﾕｰｻﾞｰを消す途中でした。ﾕｰｻﾞｰがもう無いときは、"
                                      "元に戻せません。");
    note(std::move(step), grants);
}

void AccountNote::note(Step step, const QStringList &grants)
{
    for (const QString &statement : grants)
        step.back.push_back({statement});
    // A right on columns whose rows were left is only seen then (MariaDB 10.11, MySQL 5.6 and 9).
    step.back.push_back({flushPrivileges()});
    m_log.note(std::move(step));
}

void sendNoted(Session &session, AccountNote &note, const QStringList &statements)
{
    bool isBegun = false;
    for (const QString &statement : statements) {
        try {
            session.connection().execute(statement);
        } catch (const Failure &error) {
            if (!isBegun && doubtAfter(session, error) == Doubt::None)
                note.close();
            throw;
        }
        isBegun = true;
        session.connection().execute(flushPrivileges());
    }
}
