#include "about/frmAbout.h"
#include "support/scripteddialogue.h"

#include <QFile>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

class FrmAboutTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theFirstToolFoundIsStartedAndNoneIsTold();
};

void FrmAboutTest::theFirstToolFoundIsStartedAndNoneIsTold()
{
    const QTemporaryDir folder;
    const QString trace = folder.filePath("trace");
    QFile tool(folder.filePath("hardinfo"));
    QVERIFY(tool.open(QIODevice::WriteOnly));
    tool.write("#!/bin/sh\necho started > " + QFile::encodeName(trace) + "\n");
    tool.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    tool.close();
    qputenv("PATH", QFile::encodeName(folder.path()));
    ScriptedDialogue dialogue;
    frmAbout box(nullptr, &dialogue);
    box.findChild<QPushButton *>("cmdSysInfo")->click();
    QTRY_VERIFY(QFile::exists(trace));

    QVERIFY(tool.remove());
    dialogue.expectInform("現時点ではｼｽﾃﾑ情報を使用できません");
    box.findChild<QPushButton *>("cmdSysInfo")->click();
}

QTEST_MAIN(FrmAboutTest)
#include "test_frmabout.moc"
