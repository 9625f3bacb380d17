#include "connections/keystore.h"
#include "support/files.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

// A real secret service on a message bus of its own; the user's own one is never asked.
class KeyStoreTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void withoutAServiceItSaysWhy();
    void keepsReadsAndForgets();
    void cleanupTestCase();

private:
    void startBus();
    void startService();

    const QString m_modules = QCoreApplication::applicationDirPath() + "/../bin";
    QTemporaryDir m_home;
    QProcess m_bus, m_service;
};

// It starts no services by itself, as the desktop's would.
void KeyStoreTest::startBus()
{
    writeFile(
        m_home.filePath("bus"),
        "<busconfig><type>session</type><listen>unix:tmpdir=" + m_home.path().toUtf8() +
            "</listen><policy context='default'><allow send_destination='*'/><allow receive_sender='*'/>"
            "<allow own='*'/></policy></busconfig>");
    m_bus.start("dbus-daemon",
                {"--config-file=" + m_home.filePath("bus"), "--nofork", "--nopidfile", "--print-address=1"});
    QVERIFY(m_bus.waitForReadyRead());
    qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus.readLine().trimmed());
    qputenv("HOME", m_home.path().toUtf8());
    qputenv("XDG_RUNTIME_DIR", m_home.path().toUtf8());
    qunsetenv("KDE_FULL_SESSION");
    qputenv("XDG_CURRENT_DESKTOP", "GNOME");
}

void KeyStoreTest::startService()
{
    m_service.start("gnome-keyring-daemon", {"--foreground", "--unlock", "--components=secrets"});
    m_service.write("pw\n"); // with an empty one no collection is made
    m_service.closeWriteChannel();
    QVERIFY(m_service.waitForStarted());
}

void KeyStoreTest::withoutAServiceItSaysWhy()
{
    QString why;
    if (!QFile::exists(m_modules + "/tarnwell_keystore.so"))
        QSKIP("built without the library of the key stores");
    if (QStandardPaths::findExecutable("dbus-daemon").isEmpty())
        QSKIP("no dbus-daemon");
    startBus();
    KeyStore asked(m_modules);
    QVERIFY(!asked.read("id", why));
    QVERIFY(!why.isEmpty());
    QVERIFY(!asked.write("id", "secret").isEmpty());
}

void KeyStoreTest::keepsReadsAndForgets()
{
    if (m_bus.state() != QProcess::Running)
        QSKIP("no bus");
    if (QStandardPaths::findExecutable("gnome-keyring-daemon").isEmpty())
        QSKIP("no gnome-keyring-daemon");
    startService();
    KeyStore asked(m_modules);
    QString why;
    const QString secret = "秘密 \"1\"\n!";
    QTRY_COMPARE(asked.write("id", secret), "");
    QCOMPARE(KeyStore(m_modules).read("id", why), std::optional(secret));
    QVERIFY(!asked.read("another", why));
    QCOMPARE(why, "");
    QCOMPARE(asked.remove("id"), "");
    QVERIFY(!asked.read("id", why));
    QCOMPARE(asked.remove("id"), "");
}

void KeyStoreTest::cleanupTestCase()
{
    for (QProcess *process : {&m_service, &m_bus}) {
        process->kill();
        process->waitForFinished();
    }
}

QTEST_GUILESS_MAIN(KeyStoreTest)
#include "test_keystore.moc"
