#include "core/command/sessionvariables.h"

#include "core/sql/answers.h"
#include "core/sql/statements.h"
#include "core/sql/trackedsession.h"

#include <QRegularExpression>

#include <algorithm>
#include <utility>

namespace {

const QString limitName = QStringLiteral("sql_select_limit");

RecordSet readValues(Connection &connection, const QStringList &names)
{
    return connection.execute(QStringLiteral("select @@session.") +
                              names.join(QStringLiteral(", @@session.")));
}

} // namespace

void SessionVariables::read(Connection &connection, const QStringList &names)
{
    if (names.isEmpty())
        return;
    m_hasUserSet = hasSettingsOfUser(connection);
    RecordSet rows = readValues(connection, names);
    if (!rows.isOpen())
        return;
    // A limit of 0 rows hides even itself.
    const bool isNothingShown = rows.isEof();
    if (isNothingShown) {
        send(connection, {{limitName, QStringLiteral("DEFAULT")}});
        rows = readValues(connection, names);
    }
    for (int i = 0; i < names.size(); ++i)
        m_entries.push_back({names[i], rows.text(i), variableLiteral(rows.text(i))});
    if (isNothingShown)
        entry(limitName).before = QStringLiteral("0");
}

SessionVariables::Entry &SessionVariables::entry(const QString &name)
{
    const auto found = std::ranges::find(m_entries, name, &Entry::name);
    if (found != m_entries.end())
        return *found;
    m_entries.push_back({name, {}, {}});
    return m_entries.back();
}

QString SessionVariables::before(const QString &name) const
{
    const auto found = std::ranges::find(m_entries, name, &Entry::name);
    return found == m_entries.end() ? QString() : found->before;
}

void SessionVariables::set(Connection &connection, const std::vector<SessionVariable> &wanted)
{
    std::vector<SessionVariable> different;
    for (const SessionVariable &variable : wanted) {
        Entry &present = entry(variable.name);
        if (present.now == variable.value)
            continue;
        present.now = variable.value;
        different.push_back(variable);
    }
    if (!different.empty())
        send(connection, different);
}

void SessionVariables::send(Connection &connection, const std::vector<SessionVariable> &variables)
{
    holdOwn(connection, this, true);
    executeOwn(connection, setStatement(variables));
}

void SessionVariables::use(Connection &connection, const QString &database)
{
    const QString before = firstText(connection, QStringLiteral("select database()"));
    connection.execute(useStatement(database));
    m_database = database;
    m_databaseBefore = before;
}

void SessionVariables::setAgain(Connection &connection)
{
    m_hasMoved = true;
    if (!m_database.isEmpty())
        connection.execute(useStatement(m_database));
    std::vector<SessionVariable> all;
    for (const Entry &each : m_entries)
        all.push_back({each.name, each.now});
    if (!all.empty())
        send(connection, all);
}

void SessionVariables::putBack(Connection &connection)
{
    std::vector<SessionVariable> different;
    for (const Entry &each : m_entries) {
        const QString before = variableLiteral(each.before);
        if (before != each.now)
            different.push_back({each.name, before});
    }
    m_entries.clear();
    const QString database = std::exchange(m_databaseBefore, QString());
    m_database.clear();
    // What the user had set for the lost session is set for this one from now on.
    if (!different.empty() && m_hasMoved && m_hasUserSet)
        connection.execute(setStatement(different));
    else if (!different.empty())
        executeOwn(connection, setStatement(different));
    holdOwn(connection, this, false);
    if (!database.isEmpty())
        connection.execute(useStatement(database));
}

QString SessionVariables::resetStatement(const std::vector<SessionVariable> &changed) const
{
    std::vector<SessionVariable> variables;
    for (const SessionVariable &variable : changed) {
        const auto found = std::ranges::find(m_entries, variable.name, &Entry::name);
        if (found != m_entries.end())
            variables.push_back({found->name, found->now});
    }
    return setStatement(variables);
}

QString setStatement(const std::vector<SessionVariable> &variables)
{
    QStringList pieces;
    for (const SessionVariable &variable : variables)
        pieces << variable.name + u'=' + variable.value;
    return QStringLiteral("set session ") + pieces.join(QStringLiteral(", "));
}

QString variableLiteral(const QString &value)
{
    static const QRegularExpression number(QStringLiteral("^\\d+$"));
    return number.match(value).hasMatch() ? value : quotedText(value);
}

QString modeForRows(const QString &mode)
{
    return changedMode(mode, {QStringLiteral("NO_ZERO_DATE"), QStringLiteral("NO_ZERO_IN_DATE")},
                       {QStringLiteral("ALLOW_INVALID_DATES")});
}

QString changedMode(const QString &mode, const QStringList &without, const QStringList &with)
{
    QStringList words = mode.split(u',', Qt::SkipEmptyParts);
    for (const QString &word : without)
        words.removeAll(word);
    for (const QString &word : with) {
        if (!words.contains(word))
            words << word;
    }
    return words.join(u',');
}
