// The texts that the server gives for tables, views and routines, and what users make of them.
#include "core/sql/failure.h"
#include "core/sql/statements.h"
#include "fuzz.h"
#include "maintenance/routines.h"
#include "maintenance/tablechange/foreignkeys.h"
#include "maintenance/tablechange/tablechangetext.h"

namespace {

void checkLayout(const QString &text)
{
    const QString shown = viewLayout(text);
    require(shown.startsWith(u"CREATE VIEW "), "a laid out view begins as one");
    const qsizetype body = text.indexOf(u" AS select ", 0, Qt::CaseInsensitive);
    require(squeezed(shown).endsWith(squeezed(body < 0 ? text : text.mid(body))),
            "layout adds nothing but blanks and line ends", {text, shown});
    require(!shownCreateText(QStringLiteral("Table"), text).contains(u'`'), "no backtick is shown");
    if (!text.contains(u'\r'))
        require(withLf(withCrLf(text)) == text, "line ends come back");
}

void checkCutting(const QString &text, const QString &database)
{
    const QString name = fField_select(text);
    require(text.contains(name) && !name.contains(u'(') && trimmedBlanks(name) == name,
            "a table's name is a piece of the text", {text, name});
    for (const QString &kind : {QStringLiteral("[PROC]"), QStringLiteral("[FUNC]")}) {
        const QString head =
            kind == u"[PROC]" ? QStringLiteral("CREATE PROCEDURE `") : QStringLiteral("CREATE FUNCTION `");
        const QString statement = createRoutineStatement(kind, database, text);
        const QString full = head + database + QStringLiteral("`.");
        require(statement.startsWith(full), "a routine is made in its database", {statement});
        require(trimmedBlanks(text).endsWith(statement.mid(full.size())), "what follows is the user's",
                {text, statement});
    }
    for (const Constraint &key : foreignKeysIn(quotedName(database), text))
        require(text.contains(key.name + u' ' + key.clause), "a foreign key is worded as it stands",
                {text, key.name, key.clause});
    if (text.contains(u','))
        require(text.startsWith(cutAtLastComma(text) + u','), "cut at the last comma", {text});
}

} // namespace

std::vector<std::string_view> seeds()
{
    return {
        "CREATE ALGORITHM=UNDEFINED DEFINER=`u`@`%` SQL SECURITY DEFINER VIEW `v` AS select `t`.`a` AS "
        "`a`,`b` "
        "from `t` where `a` = 1 and `b` = 2 or `c` \x01\x64\x62\x01v",
        "CREATE VIEW v AS (select 1)\x01\x64\x62\x01v",
        "CREATE TABLE `table` (\n  `a` int(11) NOT NULL,\n  CONSTRAINT `k``1` FOREIGN KEY (`a`) REFERENCES "
        "`t` "
        "(`a`),\n  PRIMARY KEY (`a`)\n) ENGINE=InnoDB\x01\xE5\xBA\x97\x01table",
        "  create temporary table t(a int)\x01\x01T",
        "CREATE DEFINER=`root`@`localhost` PROCEDURE `p`(in a int)\r\nbegin select 1; end\x01x`y\x01p",
        "create function f() returns int return 1\x01\x64\x62\x01",
    };
}

void check(const QByteArray &bytes)
{
    const QStringList parts = texts(bytes, 3);
    checkLayout(parts[0]);
    checkCutting(parts[0], parts[1]);
}
