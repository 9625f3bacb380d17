#include "about/frmabout.h"
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
    void theBoxSaysWhatTheProgramIs();
    void everyLibraryHasAVersion();
    void theFirstToolFoundIsStarted();
    void noToolIsTold();

private:
    QTemporaryDir m_folder;
};

void FrmAboutTest::theBoxSaysWhatTheProgramIs()
{
    frmAbout box(nullptr);
    const auto text = [&box](const char *name) {
        return box.findChild<QLabel *>(QLatin1String(name))->text();
    };
    QCOMPARE(text("lblTitle"), QStringLiteral("Tarnwell"));
    QCOMPARE(text("lblDescription"), QStringLiteral("開発者向け MySQL管理ソフト"));
    static const QRegularExpression version(QStringLiteral("^ﾊﾞｰｼﾞｮﾝ \\d+\\.\\d+\\.\\d+$"));
    QVERIFY2(version.match(text("lblVersion")).hasMatch(), qPrintable(text("lblVersion")));
    QVERIFY(text("lblLicence").contains(QStringLiteral("GPL-3.0-or-later")));
    QVERIFY(!box.findChild<QLabel *>(QStringLiteral("picIcon"))->pixmap().isNull());
}

void FrmAboutTest::everyLibraryHasAVersion()
{
    frmAbout box(nullptr);
    const auto names = box.findChildren<QLabel *>(QStringLiteral("lblLibrary"));
    const auto versions = box.findChildren<QLabel *>(QStringLiteral("lblLibraryVersion"));
    QCOMPARE(versions.size(), names.size());
    static const QRegularExpression number(QStringLiteral("^\\d+\\.\\d+"));
    for (const QLabel *version : versions)
        QVERIFY2(number.match(version->text()).hasMatch(), qPrintable(version->text()));
}

void FrmAboutTest::theFirstToolFoundIsStarted()
{
    const QString trace = m_folder.filePath(QStringLiteral("trace"));
    QFile tool(m_folder.filePath(QStringLiteral("hardinfo")));
    QVERIFY(tool.open(QIODevice::WriteOnly));
    tool.write("#!/bin/sh\necho started > " + QFile::encodeName(trace) + "\n");
    tool.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    tool.close();
    qputenv("PATH", QFile::encodeName(m_folder.path()));
    ScriptedDialogue dialogue;
    frmAbout box(nullptr, &dialogue);
    box.findChild<QPushButton *>(QStringLiteral("cmdSysInfo"))->click();
    QTRY_VERIFY(QFile::exists(trace));
}

void FrmAboutTest::noToolIsTold()
{
    qputenv("PATH", QFile::encodeName(m_folder.filePath(QStringLiteral("nowhere"))));
    ScriptedDialogue dialogue;
    dialogue.expectInform(QStringLiteral("現時点ではｼｽﾃﾑ情報を使用できません"));
    frmAbout box(nullptr, &dialogue);
    box.findChild<QPushButton *>(QStringLiteral("cmdSysInfo"))->click();
}

QTEST_MAIN(FrmAboutTest)
#include "test_frmabout.moc"
