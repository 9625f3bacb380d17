#include "users/privileges.h"

#include <QTest>

// The rights of all boxes, each under the server's name for it.
class PrivilegesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void listsFollowTheBoxes();
    void elementsAreComparedWhole();
};

void PrivilegesTest::listsFollowTheBoxes()
{
    const auto all = [](const auto &table) { return privilegeList(table, Checks(table.size(), true)); };
    // The right to grant stands in the list of a database, but behind the global one.
    QCOMPARE(all(globalPrivileges()),
             "SELECT,INSERT,UPDATE,DELETE,CREATE,DROP,RELOAD,SHUTDOWN,PROCESS,FILE,REFERENCES,INDEX,ALTER,"
             "SHOW DATABASES,SUPER,CREATE TEMPORARY TABLES,LOCK TABLES,EXECUTE,REPLICATION SLAVE,"
             "REPLICATION CLIENT,CREATE VIEW,SHOW VIEW,CREATE ROUTINE,ALTER ROUTINE,CREATE USER\r\n");
    QCOMPARE(
        all(databasePrivileges()),
        "SELECT,INSERT,UPDATE,DELETE,CREATE,DROP,GRANT OPTION,REFERENCES,INDEX,ALTER,"
        "CREATE TEMPORARY TABLES,LOCK TABLES,CREATE VIEW,SHOW VIEW,CREATE ROUTINE,ALTER ROUTINE,EXECUTE\r\n");
    QCOMPARE(all(tablePrivileges()), "SELECT,INSERT,UPDATE,DELETE\r\n");
}

void PrivilegesTest::elementsAreComparedWhole()
{
    QVERIFY(setHolds("select,update", u"Update"));
    QVERIFY(!setHolds("Create,Delete versioning rows", u"Delete")); // MariaDB's longer name
}

QTEST_APPLESS_MAIN(PrivilegesTest)
#include "test_privileges.moc"
