#include "inout/inoutcommands.h"
#include "support/scriptedconnection.h"
#include "support/scripteddialogue.h"

#include <QTemporaryDir>
#include <QTest>

namespace {

// A command before a scripted server and user.
struct InOutPlay {
    explicit InOutPlay(const QString &database = "d")
    {
        session.gCn = script.connect();
        session.gDbName = database;
    }
    bool run(bool isExport, const QString &table, const QString &file)
    {
        return (isExport ? exportTable : importTable)(session, {dialog, mainWindow}, {table, file, true});
    }

    Script script;
    Session session;
    ScriptedDialogue dialog, mainWindow; // fail the test on any other box
};

} // namespace

class InOutCommandsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void statementsStandAsWritten();
    void incompleteChoicesAreRefused();
    void aFailureIsSilentInTheDialogOnly();

private:
    QTemporaryDir m_folder;
    const QString m_there = m_folder.filePath("there.dat"), m_missing = m_folder.filePath("missing.dat");
};

void InOutCommandsTest::initTestCase()
{
    QFile file(m_there);
    QVERIFY(file.open(QIODevice::WriteOnly));
}

void InOutCommandsTest::statementsStandAsWritten()
{
    const QString windows = "C:\\d\\t.dat";
    QCOMPARE(exportStatement(" d ", " a b ", windows),
             "select * from `d`.a b into outfile 'C:\\\\d\\\\t.dat'");
    QCOMPARE(importStatement("d", "t", windows, true),
             "load data infile 'C:\\\\d\\\\t.dat' REPLACE  into table `d`.t");
    QCOMPARE(importStatement(" d", "t ", "/tmp/ x'\\.dat", false),
             "load data infile '/tmp/ x''\\\\.dat' IGNORE  into table `d`.t");
}

void InOutCommandsTest::incompleteChoicesAreRefused()
{
    const auto refuses = [](bool isExport, const QString &database, const QString &table, const QString &file,
                            const QString &message) {
        InOutPlay play(database);
        play.dialog.expectInform(message);
        QVERIFY(!play.run(isExport, table, file));
        QCOMPARE(play.script.sent, QStringList());
    };
    for (const bool isExport : {true, false}) {
        refuses(isExport, " ", "", "", "ﾃﾞｰﾀﾍﾞｰｽを選択してください。");
        refuses(isExport, "d", " ", "", "ﾃｰﾌﾞﾙを選択してください。");
        refuses(isExport, "d", "t", "  ", "ﾌｧｲﾙを選択してください。");
    }
    refuses(true, "d", "t", m_there, "ﾌｧｲﾙが存在します。ﾌｧｲﾙ名を変更してください。");
    refuses(false, "d", "t", m_missing, "ﾌｧｲﾙが見つかりません。");
    refuses(false, "d", "t", m_folder.path(), "ﾌｧｲﾙが見つかりません。");
}

void InOutCommandsTest::aFailureIsSilentInTheDialogOnly()
{
    for (const bool isExport : {true, false}) {
        InOutPlay play;
        play.script.failAt(isExport ? 0 : 1, Reply::failure("no FILE right", 1045));
        QVERIFY(!play.run(isExport, "t", isExport ? m_missing : m_there));
        QCOMPARE(play.mainWindow.lastError, "no FILE right");
        QCOMPARE(play.dialog.busyDepth, 0);

        play.dialog.expectInform(isExport ? "出力しました。" : "読み込みました。");
        QVERIFY(play.run(isExport, "t", isExport ? m_missing : m_there));
        QCOMPARE(play.mainWindow.lastError, QString());
    }
}

QTEST_GUILESS_MAIN(InOutCommandsTest)
#include "test_inoutcommands.moc"
