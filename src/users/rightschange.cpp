#include "users/rightschange.h"

#include "core/command/doubt.h"
#include "core/sql/passwords.h"
#include "core/sql/statements.h"
#include "users/accountnote.h"
#include "users/accountserver.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

const QString grantOption = QStringLiteral("GRANT OPTION");

// "SELECT (`a`)" is given by who may give SELECT.
bool mayGive(const Rights &own, const QString &right)
{
    return right == grantOption || right == u"USAGE" ||
           own.grantable.contains(right.section(QStringLiteral(" ("), 0, 0));
}

// The server says whether they may be given by giving them: what the account holds already, and what it is to
// hold in the end.
void tryGranting(Session &session, const Account &account, const Scope &scope, QStringList rights,
                 const Rights &own)
{
    rights.removeDuplicates();
    rights.removeAll(grantOption);
    rights.removeAll(QStringLiteral("USAGE"));
    if (!std::all_of(rights.begin(), rights.end(), [&](const QString &right) { return mayGive(own, right); }))
        session.connection().execute(QStringLiteral("GRANT ") + rights.join(QStringLiteral(", ")) +
                                     QStringLiteral(" ON ") + scope.text() + QStringLiteral(" TO ") +
                                     accountName(account));
}

// The lines that are to be left: with a global right its exceptions (MySQL's partial revokes) go.
QStringList keptLines(const QStringList &lines, const QStringList &revoked)
{
    static const QRegularExpression exception(QStringLiteral("^REVOKE (.+?)( ON .*)$"));
    QStringList kept;
    for (const QString &line : lines) {
        const QRegularExpressionMatch match = exception.match(line);
        QStringList rights = match.captured(1).split(QStringLiteral(", "));
        for (const QString &right : revoked)
            rights.removeAll(right);
        if (!match.hasMatch())
            kept << line;
        else if (!rights.isEmpty())
            kept << QStringLiteral("REVOKE ") + rights.join(QStringLiteral(", ")) + match.captured(2);
    }
    return kept;
}

QStringList missingLines(const QStringList &wanted, const QStringList &lines)
{
    QStringList missing;
    std::copy_if(wanted.begin(), wanted.end(), std::back_inserter(missing),
                 [&](const QString &line) { return !lines.contains(line); });
    return missing;
}

// One change from the first reading to the last word.
class Change {
public:
    Change(AccountContext &context, const RightsChange &change)
        : m_session(context.session)
        , m_dialogue(context.dialogue)
        , m_account(context.form.account)
        , m_change(change)
        , m_note(context.session, context.form.account, QStringLiteral("の権限の変更"))
    {
    }

    bool run()
    {
        try {
            const BusyPointer busy(m_dialogue);
            start();
            m_change.take(m_before);
            m_change.grant(m_before);
            m_isGranted = true;
            finish();
            m_note.close();
        } catch (const Failure &error) {
            undo(error);
            return false;
        }
        if (m_difference.isEmpty())
            m_dialogue.inform(m_change.closing);
        else
            m_dialogue.refuse(m_difference);
        return true;
    }

private:
    void start()
    {
        const Rights own = m_note.open();
        m_tells = own.isTold;
        m_before = readState(m_session, m_account, m_change.scope);
        if (m_change.isPasswordNew)
            requirePasswordLogin(m_before.createUser);
        m_wanted = m_change.wanted(m_before.rights);
        if (m_tells && m_change.scope == m_change.grantScope) {
            tryGranting(m_session, m_account, m_change.scope, m_before.rights.names + m_change.granted, own);
        } else if (m_tells) {
            tryGranting(m_session, m_account, m_change.scope, m_before.rights.names, own);
            tryGranting(m_session, m_account, m_change.grantScope, m_change.granted, own);
        }
        noteWayBack();
        m_isStarted = true;
    }

    void noteWayBack()
    {
        QStringList surplus;
        if (m_change.scope == m_change.grantScope) {
            surplus = surplusIn(m_wanted.all, m_before.rights);
        } else {
            const Rights held = readRights(m_session, m_account, m_change.grantScope);
            surplus = m_change.granted;
            for (const QString &right : held.names)
                surplus.removeAll(right);
            if (!held.grantable.isEmpty())
                surplus.removeAll(grantOption);
        }
        QStringList grants = grantStatements(m_account, m_change.scope, m_before.rights);
        if (!grants.isEmpty())
            grants << exceptionsIn(m_before.otherGrants);
        QString state =
            QStringLiteral("権限を外して付け直す途中でした。今の権限は変更前より少ないかもしれません。");
        if (m_change.isPasswordNew)
            state += QStringLiteral("\nﾊﾟｽﾜｰﾄﾞは、変わっていれば変わったままです。");
        m_note.write(grants, m_change.grantScope, surplus, state);
    }

    // Brings the account to what is wanted and keeps in words what still differs.
    void finish()
    {
        if (m_tells)
            mendRights(m_session, m_account, m_change.scope, m_wanted.all);
        const QStringList gone = missingIn(m_before.rights, m_wanted.all).names;
        const QStringList kept = withoutGrantScope(keptLines(m_before.otherGrants, gone));
        sendMissing(kept);
        compare(kept, readState(m_session, m_account, m_change.scope));
    }

    void compare(const QStringList &kept, const AccountState &now)
    {
        QStringList lines = missingLines(kept, now.otherGrants);
        const Rights lost = missingIn(m_wanted.all, now.rights);
        if (m_tells && !isEmpty(lost))
            lines << statement(lost);
        const auto user = [&](const AccountState &state) {
            return m_change.isPasswordNew ? withoutPassword(state.createUser) : state.createUser;
        };
        if (user(m_before) != user(now))
            lines << QStringLiteral("(SHOW CREATE USER)");
        if (!lines.isEmpty())
            m_difference = lostRights(lines);
    }

    // A grant elsewhere changes that line: it is what the user asked for.
    QStringList withoutGrantScope(const QStringList &lines) const
    {
        if (m_change.scope == m_change.grantScope)
            return lines;
        QStringList others;
        std::copy_if(lines.begin(), lines.end(), std::back_inserter(others),
                     [&](const QString &line) { return !isOn(line, m_change.grantScope); });
        return others;
    }

    // The account may not wait for the user to read a box.
    void undo(const Failure &error)
    {
        const Undoing undoing(m_session);
        QString second;
        try {
            const BusyPointer busy(m_dialogue);
            if (m_isStarted)
                putBack(doubtAfter(m_session, error));
        } catch (const Failure &another) {
            second = another.description();
        }
        m_dialogue.refuse(error.description());
        if (!second.isEmpty())
            m_dialogue.refuse(second);
        if (!m_isStarted)
            return;
        if (const Rights lost = lostNow(); isEmpty(lost))
            m_note.close();
        else
            m_dialogue.refuse(lostRights({statement(lost)}));
    }

    void putBack(Doubt doubt)
    {
        if (doubt == Doubt::AnswerLost)
            reconnect(m_session, m_note.place());
        const bool isInDoubt = doubt != Doubt::None;
        if (!m_isGranted && m_change.putBack && !(isInDoubt && m_tells))
            m_change.putBack(isInDoubt);
        if (!m_tells)
            return;
        if (m_isGranted)
            mendRights(m_session, m_account, m_change.scope, m_wanted.all);
        else if (m_change.isAllPutBack)
            mendRights(m_session, m_account, m_change.scope, m_before.rights);
        else
            grantMissing(m_session, m_account, m_change.scope, m_wanted.kept);
        sendMissing(withoutGrantScope(m_before.otherGrants));
    }

    void sendMissing(const QStringList &kept)
    {
        for (const QString &line : missingLines(kept, readGrants(m_session, m_account, m_change.scope)))
            sendAndFlush(m_session, line);
    }

    // Where the server cannot be asked any more, all of them may be gone.
    Rights lostNow()
    {
        Rights now;
        try {
            now = readRights(m_session, m_account, m_change.scope);
        } catch (const Failure &) {
            now = {};
        }
        return missingIn(m_isGranted ? m_wanted.all : m_before.rights, now);
    }

    QString statement(const Rights &lost) const
    {
        QStringList names = lost.names.isEmpty() ? lost.grantable : lost.names;
        if (!lost.grantable.isEmpty())
            names << grantOption;
        return QStringLiteral("GRANT %1 ON %2 TO %3")
            .arg(names.join(QStringLiteral(", ")), m_change.scope.text(), accountName(m_account));
    }

    static QString lostRights(const QStringList &statements)
    {
        return QStringLiteral("次の権限が失われた可能性があります。無ければ、次の文で戻して下さい。\r\n") +
               maskedPasswords(statements.join(QStringLiteral("\r\n")));
    }

    Session &m_session;
    Dialogue &m_dialogue;
    const Account m_account;
    const RightsChange &m_change;
    AccountNote m_note;
    AccountState m_before;
    WantedRights m_wanted;
    QString m_difference;
    bool m_tells = false, m_isStarted = false, m_isGranted = false;
};

} // namespace

bool report(Dialogue &dialogue, const QString &success, const std::function<void()> &statements)
{
    try {
        const BusyPointer busy(dialogue);
        statements();
    } catch (const Failure &error) {
        dialogue.refuse(error.description());
        return false;
    }
    dialogue.inform(success);
    return true;
}

bool changeRights(AccountContext &context, const RightsChange &change)
{
    return Change(context, change).run();
}
