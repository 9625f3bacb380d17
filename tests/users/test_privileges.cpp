#include "core/sqlerror.h"
#include "support/rows.h"
#include "users/privileges.h"

#include <QTest>

class PrivilegesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void listsFollowTheBoxes_data();
    void listsFollowTheBoxes();
    void elementsAreComparedWhole_data();
    void elementsAreComparedWhole();
};

void PrivilegesTest::listsFollowTheBoxes_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<QList<int>>("boxes");
    QTest::addColumn<QString>("list");
    QList<int> all(26);
    std::iota(all.begin(), all.end(), 0);
    row("global, all, GRANT stands in no list", 0, all,
        "SELECT,INSERT,UPDATE,DELETE,CREATE,DROP,RELOAD,SHUTDOWN,PROCESS,FILE,REFERENCES,INDEX,ALTER,"
        "SHOW DATABASES,SUPER,CREATE TEMPORARY TABLES,LOCK TABLES,EXECUTE,REPLICATION SLAVE,"
        "REPLICATION CLIENT,CREATE VIEW,SHOW VIEW,CREATE ROUTINE,ALTER ROUTINE,CREATE USER\r\n");
    row("global, only GRANT", 0, QList<int>{10}, "USAGE");
    row("database, all, GRANT OPTION inside", 1, all.mid(0, 17),
        "SELECT,INSERT,UPDATE,DELETE,CREATE,DROP,GRANT OPTION,REFERENCES,INDEX,ALTER,"
        "CREATE TEMPORARY TABLES,LOCK TABLES,CREATE VIEW,SHOW VIEW,CREATE ROUTINE,ALTER "
        "ROUTINE,EXECUTE\r\n");
    row("table, one", 2, QList<int>{2}, "UPDATE\r\n");
}

void PrivilegesTest::listsFollowTheBoxes()
{
    QFETCH(int, level);
    QFETCH(QList<int>, boxes);
    const auto table = level == 0   ? globalPrivileges()
                       : level == 1 ? databasePrivileges()
                                    : tablePrivileges();
    Checks checks(table.size());
    for (const int box : boxes)
        checks[static_cast<std::size_t>(box)] = true;
    QTEST(privilegeList(table, checks), "list");
    if (privilegeList(table, checks) == "USAGE")
        QVERIFY_THROWS_EXCEPTION(SqlError, requiredPrivilegeList(table, checks));
    else
        QTEST(requiredPrivilegeList(table, checks), "list");
}

void PrivilegesTest::elementsAreComparedWhole_data()
{
    QTest::addColumn<QString>("set");
    QTest::addColumn<QString>("element");
    QTest::addColumn<bool>("isHeld");
    row("first", "Select,Update", "Select", true);
    row("lower case", "select,update", "Update", true);
    row("absent", "Select,Update", "Insert", false);
    row("MariaDB's longer name", "Create,Delete versioning rows", "Delete", false);
    row("empty", "", "Select", false);
}

void PrivilegesTest::elementsAreComparedWhole()
{
    QFETCH(QString, set);
    QFETCH(QString, element);
    QTEST(setHolds(set, element), "isHeld");
}

QTEST_APPLESS_MAIN(PrivilegesTest)
#include "test_privileges.moc"
