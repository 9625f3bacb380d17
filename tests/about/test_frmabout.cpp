#include "about/frmAbout.h"
#include "support/scripteddialogue.h"

#include <QDir>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

class FrmAboutTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void theProgramAndEveryLibraryHaveAVersion();
    void theFirstToolFoundIsStartedAndNoneIsTold();

private:
    QTemporaryDir m_folder;
};

void FrmAboutTest::theProgramAndEveryLibraryHaveAVersion()
{
    QPixmap icon(64, 64);
    icon.fill(Qt::blue);
    QApplication::setWindowIcon(icon); // as main() does from the program's resources
    frmAbout box(nullptr);
    const auto names = box.findChildren<QLabel *>("lblLibrary");
    auto versions = box.findChildren<QLabel *>("lblLibraryVersion");
    QCOMPARE(versions.size(), names.size());
    versions << box.findChild<QLabel *>("lblVersion");
    static const QRegularExpression number("^(ﾊﾞｰｼﾞｮﾝ )?\\d+\\.\\d+");
    for (const QLabel *version : std::as_const(versions))
        QVERIFY2(number.match(version->text()).hasMatch(), qPrintable(version->text()));
    QVERIFY(!box.findChild<QLabel *>("picIcon")->pixmap().isNull());
}

void FrmAboutTest::theFirstToolFoundIsStartedAndNoneIsTold()
{
    const QString trace = m_folder.filePath("trace");
    QFile tool(m_folder.filePath("hardinfo"));
    QVERIFY(tool.open(QIODevice::WriteOnly));
    tool.write("#!/bin/sh\necho started > " + QFile::encodeName(trace) + "\n");
    tool.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    tool.close();
    qputenv("PATH", QFile::encodeName(m_folder.path()));
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
