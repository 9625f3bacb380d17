#include "connectiontests.h"
#include "core/driver/sshtunnel.h"
#include "core/session/basconnection.h"
#include "core/session/connectionstring.h"
#include "support/certificates.h"
#include "support/loopback.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <csignal>
#include <unistd.h>

// A real SSH server of the user's own on 127.0.0.1, and a real database server behind it.
class SshTunnelTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { addBothConnections(); }
    void initTestCase();
    void init();
    void cleanupTestCase();
    void statementsGoThroughOneTunnel();
    void theServersCertificateIsVerifiedThroughIt_data();
    void theServersCertificateIsVerifiedThroughIt();
    void whatGoesWrongIsSaid_data();
    void whatGoesWrongIsSaid();
    void aTunnelThatDiesIsMadeAnew();
    void anUnknownHostIsAskedAbout();
    void aStopEndsTheWaiting();

private:
    QString path(const QString &file) const { return m_folder.filePath(file); }
    void makeKeys();
    void startSshd();
    QString string(const QHash<QString, QString> &other = {}) const;
    void askBy(const QString &command);
    void writeProgram(const QString &name, const QString &command);
    QList<pid_t> tunnels() const;
    std::unique_ptr<Connection> through(const QString &connectionString)
    {
        return m_factory(connectionString, m_pump);
    }

    QTemporaryDir m_folder;
    std::optional<TestServer> m_server;
    QProcess m_sshd;
    int m_port = 0;
    QString m_user;
    HookPump m_pump;
    WaitingFactory m_factory;
};

// The processes that run. One whose port was taken a moment before it asked has ended, and another was made.
QList<pid_t> SshTunnelTest::tunnels() const
{
    QList<pid_t> running;
    for (const QByteArray &line : readFile(path("pids")).trimmed().split('\n'))
        if (const pid_t process = line.toInt(); process > 0 && kill(process, 0) == 0)
            running << process;
    return running;
}

void SshTunnelTest::makeKeys()
{
    for (const char *key : {"host", "user", "other"})
        QCOMPARE(QProcess::execute("ssh-keygen", {"-q", "-t", "ed25519", "-N", "", "-f", path(key)}), 0);
    QFile::copy(path("user"), path("open"));
    QFile::setPermissions(path("open"), QFile::permissions(path("user")) | QFileDevice::ReadOther);
    const auto forAll =
        QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ReadGroup | QFileDevice::ReadOther;
    QFile::setPermissions(path("host"), forAll);
    QFile::setPermissions(m_folder.path(),
                          forAll | QFileDevice::ExeOwner | QFileDevice::ExeGroup | QFileDevice::ExeOther);
}

void SshTunnelTest::startSshd()
{
    const QString folder = qEnvironmentVariable("TARNWELL_SSHD");
    close(listenOnLoopback(m_port)); // free a moment ago
    writeFile(path("conf"),
              QStringLiteral("Port %1\nListenAddress 127.0.0.1\nHostKey %2/host\nPidFile none\n"
                             "UsePAM yes\nStrictModes no\nPasswordAuthentication no\n"
                             "KbdInteractiveAuthentication no\nAuthorizedKeysFile %2/user.pub\n")
                  .arg(m_port)
                  .arg(m_folder.path())
                  .toUtf8());
    QStringList command{folder + "/sshd", "-D", "-e", "-f", path("conf")};
    // As root it wants an account and a folder of the system's; anybody else may let himself in.
    if (getuid() == 0)
        command = QStringList{"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"} + command;
    QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
    variables.insert("LD_LIBRARY_PATH", folder);
    m_sshd.setProcessEnvironment(variables);
    m_sshd.setProcessChannelMode(QProcess::MergedChannels);
    m_sshd.start(command.takeFirst(), command);
    QVERIFY(m_sshd.waitForStarted());
    QByteArray said;
    while (!said.contains("listening") && m_sshd.waitForReadyRead(10000))
        said += m_sshd.readAll();
    QVERIFY2(said.contains("listening"), said.constData());
}

void SshTunnelTest::initTestCase()
{
    if (!QFile::exists(qEnvironmentVariable("TARNWELL_SSHD") + "/sshd"))
        QSKIP("no sshd: ./test fetches one");
    if (QStandardPaths::findExecutable("ssh").isEmpty())
        QSKIP("no ssh");
    m_user = getuid() == 0 ? "nobody" : qEnvironmentVariable("USER");
    makeKeys();
    startSshd();
    if (hasOpenssl())
        makeCertificates(m_folder.path());
    m_server.emplace(hasOpenssl() ? serverCertificateOptions(m_folder.path()) : QStringList());
    // The user's own settings, hosts and keys have no part in this.
    writeProgram("ssh", QStringLiteral("echo $$ >>%1/pids; exec %2 -F none -o UserKnownHostsFile=%1/known "
                                       "-o IdentitiesOnly=yes \"$@\"")
                            .arg(m_folder.path(), QStandardPaths::findExecutable("ssh")));
    qputenv("PATH", m_folder.path().toUtf8() + ':' + qgetenv("PATH"));
    qunsetenv("SSH_AUTH_SOCK");
}

void SshTunnelTest::init()
{
    writeFile(path("known"),
              QStringLiteral("[127.0.0.1]:%1 ").arg(m_port).toUtf8() + readFile(path("host.pub")));
    writeFile(path("pids"), {});
    askBy("exit 1");
}

// A program that ssh asks; the question is its first argument.
void SshTunnelTest::askBy(const QString &command)
{
    writeProgram("asker", command);
    m_factory = tunnelled(createConnection, path("asker"));
}

void SshTunnelTest::writeProgram(const QString &name, const QString &command)
{
    writeFile(path(name), "#!/bin/sh\n" + command.toUtf8() + '\n');
    QFile::setPermissions(path(name), QFile::permissions(path(name)) | QFileDevice::ExeOwner);
}

QString SshTunnelTest::string(const QHash<QString, QString> &other) const
{
    QHash<QString, QString> pieces{{"sshhost", "127.0.0.1"},
                                   {"sshport", QString::number(m_port)},
                                   {"sshuser", m_user},
                                   {"sshkey", path("user")}};
    pieces.insert(other);
    QString text = m_server->connectionString(isBuiltIn());
    if (pieces.contains("port"))
        text = withoutKey(text, "port");
    for (auto piece = pieces.begin(); piece != pieces.end(); ++piece)
        text += u';' + piece.key() + u'=' + piece.value();
    return text;
}

void SshTunnelTest::cleanupTestCase()
{
    m_factory = nullptr;
    m_sshd.terminate();
    m_sshd.waitForFinished();
}

void SshTunnelTest::statementsGoThroughOneTunnel()
{
    const auto first = through(string()), second = through(string());
    first->open();
    second->open();
    QCOMPARE(valueOf(*first, "select 7"), "7");
    QCOMPARE(valueOf(*second, "select substring_index(user(), '@', 1)"), "demo");
    QVERIFY(!namesLocalServer(first->connectionString()));
    QTRY_COMPARE(tunnels().size(), 1);
}

void SshTunnelTest::theServersCertificateIsVerifiedThroughIt_data()
{
    const Rows<QString, QString, QString> row;
    row("its name", "localhost", "ca", "");
    row("another name for it", "127.0.0.1", "ca", "「サーバー」の名前 (127.0.0.1)");
    row("another authority", "localhost", "other", "certificate");
}

// It is for the name that the other machine knows the server by, not for the tunnel's end here.
void SshTunnelTest::theServersCertificateIsVerifiedThroughIt()
{
    if (!hasOpenssl())
        QSKIP("openssl is not installed");
    const auto [host, authority, refusal] = fetched<QString, QString, QString>();
    const QString demands = withoutKey(string(), "server") + ";server=" + host +
                            ";FORCETLS=1;SSLVERIFY=1;SSLCA=" + path(authority + ".pem");
    const auto connection = through(demands);
    if (refusal.isEmpty()) {
        connection->open();
        QVERIFY(connection->encryption().isVerified);
    } else {
        const Failure failure = errorOf([&] { connection->open(); });
        QVERIFY2(failure.description().contains(refusal), qPrintable(failure.description()));
    }
}

void SshTunnelTest::whatGoesWrongIsSaid_data()
{
    QTest::addColumn<QString>("piece");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QStringList>("words");
    const auto wrong = [](const char *piece, const QString &value, const QStringList &words) {
        QTest::newRow(qPrintable(QLatin1String(piece) + ' ' + value)) << QString(piece) << value << words;
    };
    wrong("sshkey", path("other"), {"Permission denied", "ユーザー名、鍵"});
    wrong("sshkey", path("open"), {"UNPROTECTED", "本人だけ"});
    wrong("sshhost", "no-such-host.invalid", {"resolve", "名前が見つかりません"});
    wrong("sshport", "1", {"refused", "応答しません"});
    wrong("port", "1", {"open failed", "データベースのサーバーに届きません"});
    wrong("sshhost", "-oProxyCommand=touch x", {"正しくありません"});
    wrong("port", "3306:evil", {"数字"});
}

void SshTunnelTest::whatGoesWrongIsSaid()
{
    QFETCH(QString, piece);
    QFETCH(QString, value);
    QFETCH(QStringList, words);
    const auto connection = through(string({{piece, value}}));
    const Failure failure = errorOf([&] { connection->open(); });
    for (const QString &word : words)
        QVERIFY2(failure.description().contains(word), qPrintable(failure.description()));
}

void SshTunnelTest::aTunnelThatDiesIsMadeAnew()
{
    const auto connection = through(string());
    connection->open();
    kill(tunnels().constFirst(), SIGKILL);
    const Failure failure = errorOf([&] { connection->execute("select 1"); });
    QVERIFY2(failure.isConnectionLost(), qPrintable(failure.description()));
    connection->close();
    connection->open();
    QCOMPARE(valueOf(*connection, "select 1"), "1");
    QTRY_COMPARE(tunnels().size(), 1); // the killed one goes when it is waited for
}

void SshTunnelTest::anUnknownHostIsAskedAbout()
{
    QFile::remove(path("known"));
    askBy(QStringLiteral("echo \"$1\" >%1; echo no").arg(path("question")));
    const Failure failure = errorOf([&] { through(string())->open(); });
    QVERIFY2(failure.description().contains("確かめられなかった"), qPrintable(failure.description()));
    const QByteArray question = readFile(path("question"));
    QVERIFY2(question.contains("SHA256:") && question.contains("(yes/no"), question.constData());

    askBy("echo yes");
    through(string())->open();
    QVERIFY(readFile(path("known")).contains("ssh-ed25519"));
}

void SshTunnelTest::aStopEndsTheWaiting()
{
    QFile::remove(path("known"));
    askBy("sleep 600");
    const auto connection = through(string());
    m_pump.once = [&] { connection->cancel(); };
    QVERIFY(errorOf([&] { connection->open(); }).isInterrupted());
}

QTEST_GUILESS_MAIN(SshTunnelTest)
#include "test_sshtunnel.moc"
