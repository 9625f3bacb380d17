#include "inout/inoutcommands.h"
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
    const QString windows = QStringLiteral("C:\\d\\t.dat");
    QTest::newRow("export") << exportStatement(QStringLiteral(" d "), QStringLiteral(" t "), windows)
                            << "select * from `d`.t into outfile 'C:\\\\d\\\\t.dat'";
    QTest::newRow("export, no backslash")
        << exportStatement(QStringLiteral("d"), QStringLiteral("a b"), QStringLiteral("/tmp/ x.dat"))
        << "select * from `d`.a b into outfile '/tmp/ x.dat'";
    QTest::newRow("replace") << importStatement(QStringLiteral("d"), QStringLiteral("t"), windows, true)
                             << "load data infile 'C:\\\\d\\\\t.dat' REPLACE  into table `d`.t";
    QTest::newRow("ignore") << importStatement(QStringLiteral(" d"), QStringLiteral("t "), windows, false)
                            << "load data infile 'C:\\\\d\\\\t.dat' IGNORE  into table `d`.t";
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
    const QString existing = m_folder.filePath(QStringLiteral("there.dat"));
    QFile file(existing);
    QVERIFY(file.open(QIODevice::WriteOnly));
    const QString missing = m_folder.filePath(QStringLiteral("missing.dat"));
    for (const bool isExport : {true, false}) {
        const char *direction = isExport ? "export" : "import";
        QTest::addRow("%s, no database", direction) << " "
                                                    << ""
                                                    << "" << isExport << "ﾃﾞｰﾀﾍﾞｰｽを選択してください。";
        QTest::addRow("%s, no table", direction) << "d"
                                                 << " "
                                                 << "" << isExport << "ﾃｰﾌﾞﾙを選択してください。";
        QTest::addRow("%s, no file", direction) << "d"
                                                << "t"
                                                << "  " << isExport << "ﾌｧｲﾙを選択してください。";
    }
    QTest::newRow("export, file there")
        << "d"
        << "t" << existing << true << "ﾌｧｲﾙが存在します。ﾌｧｲﾙ名を変更してください。";
    QTest::newRow("import, file missing") << "d"
                                          << "t" << missing << false << "ﾌｧｲﾙが見つかりません。";
    QTest::newRow("import, a folder is no file")
        << "d"
        << "t" << m_folder.path() << false << "ﾌｧｲﾙが見つかりません。";
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
    QTest::newRow("export") << true;
    QTest::newRow("import") << false;
}

void InOutCommandsTest::aFailureIsSilentInTheDialogOnly()
{
    QFETCH(bool, isExport);
    Script script;
    Session session;
    session.gCn = script.connect();
    session.gDbName = QStringLiteral("d");
    script.failAt(0, Reply::failure(QStringLiteral("no FILE right"), 1045));
    ScriptedDialogue dialog; // fails the test on any box
    ScriptedDialogue mainWindow;
    const QString file =
        m_folder.filePath(isExport ? QStringLiteral("new.dat") : QStringLiteral("there.dat"));
    QVERIFY(!(isExport ? exportTable : importTable)(session, {dialog, mainWindow},
                                                    {QStringLiteral("t"), file, true}));
    QCOMPARE(mainWindow.lastError, QStringLiteral("no FILE right"));
    QCOMPARE(dialog.busyDepth, 0);

    dialog.expectInform(isExport ? QStringLiteral("出力しました。") : QStringLiteral("読み込みました。"));
    QVERIFY((isExport ? exportTable : importTable)(session, {dialog, mainWindow},
                                                   {QStringLiteral("t"), file, true}));
    QCOMPARE(mainWindow.lastError, QString());
}

QTEST_GUILESS_MAIN(InOutCommandsTest)
#include "test_inoutcommands.moc"
