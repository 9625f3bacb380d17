#include "inout/inoutcommands.h"
#include "support/rows.h"
#include "support/scriptedconnection.h"
#include "support/scripteddialogue.h"

#include <QTemporaryDir>
#include <QTest>

class InOutCommandsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void statementsStandAsWritten_data();
    void statementsStandAsWritten();
    void incompleteChoicesAreRefused_data();
    void incompleteChoicesAreRefused();
    void aFailureIsSilentInTheDialogOnly_data();
    void aFailureIsSilentInTheDialogOnly();

private:
    QTemporaryDir m_folder;
};

void InOutCommandsTest::statementsStandAsWritten_data()
{
    QTest::addColumn<QString>("statement");
    QTest::addColumn<QString>("expected");
    const QString windows = "C:\\d\\t.dat";
    row("export", exportStatement(" d ", " t ", windows),
        "select * from `d`.t into outfile 'C:\\\\d\\\\t.dat'");
    row("export, no backslash", exportStatement("d", "a b", "/tmp/ x.dat"),
        "select * from `d`.a b into outfile '/tmp/ x.dat'");
    row("replace", importStatement("d", "t", windows, true),
        "load data infile 'C:\\\\d\\\\t.dat' REPLACE  into table `d`.t");
    row("ignore", importStatement(" d", "t ", windows, false),
        "load data infile 'C:\\\\d\\\\t.dat' IGNORE  into table `d`.t");
}

void InOutCommandsTest::statementsStandAsWritten()
{
    QFETCH(QString, statement);
    QTEST(statement, "expected");
}

void InOutCommandsTest::incompleteChoicesAreRefused_data()
{
    QTest::addColumn<QString>("database");
    QTest::addColumn<QString>("table");
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("isExport");
    QTest::addColumn<QString>("message");
    const QString existing = m_folder.filePath("there.dat");
    QFile file(existing);
    QVERIFY(file.open(QIODevice::WriteOnly));
    for (const bool isExport : {true, false}) {
        const auto add = [isExport](const char *name, const char *database, const char *table,
                                    const QString &chosen, const char *message) {
            QTest::addRow("%s, %s", isExport ? "export" : "import", name)
                << database << table << chosen << isExport << message;
        };
        add("no database", " ", "", "", "ﾃﾞｰﾀﾍﾞｰｽを選択してください。");
        add("no table", "d", " ", "", "ﾃｰﾌﾞﾙを選択してください。");
        add("no file", "d", "t", "  ", "ﾌｧｲﾙを選択してください。");
        if (isExport) {
            add("file there", "d", "t", existing, "ﾌｧｲﾙが存在します。ﾌｧｲﾙ名を変更してください。");
            continue;
        }
        add("file missing", "d", "t", m_folder.filePath("missing.dat"), "ﾌｧｲﾙが見つかりません。");
        add("a folder is no file", "d", "t", m_folder.path(), "ﾌｧｲﾙが見つかりません。");
    }
}

void InOutCommandsTest::incompleteChoicesAreRefused()
{
    QFETCH(QString, database);
    QFETCH(QString, table);
    QFETCH(QString, file);
    QFETCH(bool, isExport);
    QFETCH(QString, message);
    Script script;
    Session session;
    session.gCn = script.connect();
    session.gDbName = database;
    ScriptedDialogue dialog;
    ScriptedDialogue mainWindow;
    dialog.expectInform(message);
    QVERIFY(!(isExport ? exportTable : importTable)(session, {dialog, mainWindow}, {table, file, true}));
    QCOMPARE(script.sent, QStringList());
}

void InOutCommandsTest::aFailureIsSilentInTheDialogOnly_data()
{
    QTest::addColumn<bool>("isExport");
    row("export", true);
    row("import", false);
}

void InOutCommandsTest::aFailureIsSilentInTheDialogOnly()
{
    QFETCH(bool, isExport);
    Script script;
    Session session;
    session.gCn = script.connect();
    session.gDbName = QStringLiteral("d");
    script.failAt(0, Reply::failure("no FILE right", 1045));
    ScriptedDialogue dialog; // fails the test on any box
    ScriptedDialogue mainWindow;
    const QString file =
        m_folder.filePath(isExport ? QStringLiteral("new.dat") : QStringLiteral("there.dat"));
    QVERIFY(!(isExport ? exportTable : importTable)(session, {dialog, mainWindow}, {"t", file, true}));
    QCOMPARE(mainWindow.lastError, "no FILE right");
    QCOMPARE(dialog.busyDepth, 0);

    dialog.expectInform(isExport ? QStringLiteral("出力しました。") : QStringLiteral("読み込みました。"));
    QVERIFY((isExport ? exportTable : importTable)(session, {dialog, mainWindow}, {"t", file, true}));
    QCOMPARE(mainWindow.lastError, QString());
}

QTEST_GUILESS_MAIN(InOutCommandsTest)
#include "test_inoutcommands.moc"
