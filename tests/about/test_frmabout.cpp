#include "about/frmAbout.h"
#include "support/files.h"
#include "support/scripteddialogue.h"

#include <QPushButton>
#include <QTemporaryDir>

class FrmAboutTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFirstToolFoundIsStartedAndNoneIsTold();
};

void FrmAboutTest::theFirstToolFoundIsStartedAndNoneIsTold()
{
    const QTemporaryDir folder;
    const QString trace = folder.filePath("trace");
    const QString tool = folder.filePath("hardinfo");
    writeProgram(tool, "echo started > " + QFile::encodeName(trace) + "\n");
    qputenv("PATH", QFile::encodeName(folder.path()));
    ScriptedDialogue dialogue;
    frmAbout box(nullptr, &dialogue);
    box.findChild<QPushButton *>("cmdSysInfo")->click();
    QTRY_VERIFY(QFile::exists(trace));

    QVERIFY(QFile::remove(tool));
    dialogue.expectInform("現時点ではｼｽﾃﾑ情報を使用できません");
    box.findChild<QPushButton *>("cmdSysInfo")->click();
}

QTEST_MAIN(FrmAboutTest)
#include "test_frmabout.moc"
