#include "core/command/undostep.h"

#include "core/sql/connection.h"
#include "core/sql/statements.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

// A counter that has gone on is no other definition; and the server names the database only where it is not
// the default one. A column that has its collation from the table is made again as one with its own, and
// MySQL from 8 on then shows the character set, too.
QString comparable(QString text, const QString &database)
{
    static const QRegularExpression counter(QStringLiteral(" AUTO_INCREMENT=\\d+"));
    static const QRegularExpression characterSet(QStringLiteral(" CHARACTER SET \\w+(?= COLLATE )"));
    return text.remove(counter).remove(characterSet).remove(quotedName(database) + u'.');
}

} // namespace

Question isThere(const QString &showCreateStatement)
{
    return {showCreateStatement, true};
}

Question isMissing(const QString &showCreateStatement)
{
    return {showCreateStatement, false};
}

bool isSo(Connection &connection, const Question &question)
{
    // Tables, routines, triggers, events; a database that is gone takes all of them along.
    static constexpr int noSuchThing[] = {1146, 1305, 1360, 1539, 1049};
    constexpr int brokenView = 1356; // but it is there
    if (question.statement.isEmpty())
        return true;
    try {
        RecordSet rows = connection.execute(question.statement);
        return (!rows.isOpen() || !rows.isEof()) == question.wanted;
    } catch (const Failure &error) {
        if (std::ranges::find(noSuchThing, error.number()) != std::end(noSuchThing))
            return !question.wanted;
        if (error.number() == brokenView)
            return question.wanted;
        throw;
    }
}

bool isAsBefore(Connection &connection, const WayBack &back, const QString &database)
{
    RecordSet rows = connection.execute(back.show);
    // The text's column differs by kind, and its name by server: "Create Table", "SQL Original Statement".
    for (int i = 0; rows.isOpen() && !rows.isEof() && i < rows.fieldCount(); ++i) {
        if (comparable(rows.text(i), database) == comparable(back.text, database))
            return true;
    }
    return false;
}
