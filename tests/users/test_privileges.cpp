#include "core/sqlerror.h"
#include "users/privileges.h"

#include <QTest>

class PrivilegesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void listsFollowTheBoxes_data();
    void listsFollowTheBoxes();
    void elementsAreComparedWhole_data();
    void elementsAreComparedWhole();
    void rightsWithoutABoxAreHidden_data();
    void rightsWithoutABoxAreHidden();
};

void PrivilegesTest::listsFollowTheBoxes_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<QList<int>>("boxes");
    QTest::addColumn<QString>("list");
    QList<int> all(26);
    std::iota(all.begin(), all.end(), 0);
    QTest::newRow("global, all, GRANT stands in no list")
        << 0 << all
        << "SELECT,INSERT,UPDATE,DELETE,CREATE,DROP,RELOAD,SHUTDOWN,PROCESS,FILE,REFERENCES,INDEX,ALTER,"
           "SHOW DATABASES,SUPER,CREATE TEMPORARY TABLES,LOCK TABLES,EXECUTE,REPLICATION SLAVE,"
           "REPLICATION CLIENT,CREATE VIEW,SHOW VIEW,CREATE ROUTINE,ALTER ROUTINE,CREATE USER\r\n";
    QTest::newRow("global, only GRANT") << 0 << QList<int>{10} << "USAGE";
    QTest::newRow("global, none") << 0 << QList<int>{} << "USAGE";
    QTest::newRow("database, all, GRANT OPTION inside")
        << 1 << all.mid(0, 17)
        << "SELECT,INSERT,UPDATE,DELETE,CREATE,DROP,GRANT OPTION,REFERENCES,INDEX,ALTER,"
           "CREATE TEMPORARY TABLES,LOCK TABLES,CREATE VIEW,SHOW VIEW,CREATE ROUTINE,ALTER "
           "ROUTINE,EXECUTE\r\n";
    QTest::newRow("table, all") << 2 << QList<int>{0, 1, 2, 3} << "SELECT,INSERT,UPDATE,DELETE\r\n";
    QTest::newRow("table, one") << 2 << QList<int>{2} << "UPDATE\r\n";
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
    if (privilegeList(table, checks) == QStringLiteral("USAGE"))
        QVERIFY_THROWS_EXCEPTION(SqlError, requiredPrivilegeList(table, checks));
    else
        QTEST(requiredPrivilegeList(table, checks), "list");
}

void PrivilegesTest::elementsAreComparedWhole_data()
{
    QTest::addColumn<QString>("set");
    QTest::addColumn<QString>("element");
    QTest::addColumn<bool>("isHeld");
    QTest::newRow("first") << "Select,Update"
                           << "Select" << true;
    QTest::newRow("last") << "Select,Update"
                          << "Update" << true;
    QTest::newRow("lower case") << "select,update"
                                << "Update" << true;
    QTest::newRow("absent") << "Select,Update"
                            << "Insert" << false;
    QTest::newRow("MariaDB's longer name") << "Create,Delete versioning rows"
                                           << "Delete" << false;
    QTest::newRow("empty") << ""
                           << "Select" << false;
}

void PrivilegesTest::elementsAreComparedWhole()
{
    QFETCH(QString, set);
    QFETCH(QString, element);
    QTEST(setHolds(set, element), "isHeld");
}

void PrivilegesTest::rightsWithoutABoxAreHidden_data()
{
    QTest::addColumn<int>("level");
    QTest::addColumn<QString>("right");
    QTest::addColumn<bool>("isShown");
    QTest::newRow("box of another caption") << 0 << "SHOW DATABASES" << true;
    QTest::newRow("MariaDB's new name of a box") << 0 << "BINLOG MONITOR" << true;
    QTest::newRow("global EVENT") << 0 << "EVENT" << false;
    QTest::newRow("global DELETE HISTORY") << 0 << "DELETE HISTORY" << false;
    QTest::newRow("dynamic right") << 0 << "BACKUP_ADMIN" << false;
    QTest::newRow("database TRIGGER") << 1 << "TRIGGER" << false;
    QTest::newRow("database EXECUTE") << 1 << "EXECUTE" << true;
    QTest::newRow("table CREATE") << 2 << "CREATE" << false;
}

void PrivilegesTest::rightsWithoutABoxAreHidden()
{
    QFETCH(int, level);
    QFETCH(QString, right);
    const auto table = level == 0   ? globalPrivileges()
                       : level == 1 ? databasePrivileges()
                                    : tablePrivileges();
    QTEST(isShown(table, right), "isShown");
}

QTEST_APPLESS_MAIN(PrivilegesTest)
#include "test_privileges.moc"
