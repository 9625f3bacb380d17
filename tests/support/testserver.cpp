#include "support/testserver.h"

#include "support/files.h"
#include "support/loopback.h"
#include "support/serverprograms.h"

#include <QDir>
#include <QElapsedTimer>
#include <QLockFile>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QThread>

#include <csignal>
#include <cstdlib>
#include <sys/prctl.h>
#include <sys/un.h>
#include <unistd.h>

void give_up(const QString &why)
{
    qCritical().noquote() << "FAIL!  : no test server:" << why;
    std::exit(1);
}

QString program(const QString &name)
{
    const QString path = QStandardPaths::findExecutable(name, {"/usr/sbin", "/usr/bin", "/usr/local/bin"});
    if (path.isEmpty())
        give_up(name + " is not installed");
    return path;
}

QString runToEnd(const QString &path, const QStringList &arguments, const QByteArray &input)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(path, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(60000) || process.exitCode() != 0)
        give_up(path + ": " + QString::fromUtf8(process.readAll()));
    return QString::fromUtf8(process.readAll());
}

QString templateFolder(TestServer::Brand brand)
{
    const QString user = "--user=" + qEnvironmentVariable("USER", "root");
    const bool isMySql9 = brand == TestServer::Brand::MySql9;
    const QString folder =
        QDir::tempPath() + QStringLiteral("/tarnwell-test-data%1-%2").arg(isMySql9 ? "9" : "").arg(getuid());
    QLockFile lock(folder + ".lock");
    lock.setStaleLockTime(120000);
    lock.lock();
    if (!QFile::exists(folder + "/complete")) {
        QDir(folder).removeRecursively();
        if (isMySql9)
            runToEnd(TestServer::mySql9Folder() + "/mysqld",
                     {"--no-defaults", "--initialize-insecure", "--datadir=" + folder, user,
                      "--innodb-redo-log-capacity=8M", "--performance-schema=off"});
        else
            runToEnd(program("mariadb-install-db"),
                     {"--no-defaults", "--datadir=" + folder, "--auth-root-authentication-method=normal",
                      "--skip-test-db", "--innodb-log-file-size=8M", user});
        writeFile(folder + "/complete", {});
    }
    return folder;
}

int freePort()
{
    int port = 0;
    close(listenOnLoopback(port));
    return port;
}

namespace {

bool answers(int port, const QString &path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    qstrncpy(address.sun_path, QFile::encodeName(path).constData(), sizeof address.sun_path);
    const int probe = socket(AF_UNIX, SOCK_STREAM, 0), second = connectToLoopback(port);
    const bool isUp = connect(probe, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
    close(probe);
    close(second);
    return isUp && second >= 0;
}

} // namespace

TestServer::TestServer(const QStringList &moreOptions, Brand brand, const QString &readyFolder)
    : m_moreOptions(moreOptions)
    , m_readyFolder(readyFolder)
    , m_brand(brand)
    , m_port(freePort())
{
    const QDir folder(m_folder.path());
    makeDataFolder();
    writeInitFile();
    folder.mkdir("tmp");
    folder.mkdir("odbc");
    writeFile(folder.filePath("odbc/odbcinst.ini"), "[MySQL ODBC 3.51 Driver]\nDriver=libmaodbc.so\n"
                                                    "[Other Driver]\nDriver=libmaodbc.so\n"
                                                    "[Broken MySQL Driver]\nDriver=libdoesnotexist.so\n");
    writeFile(folder.filePath("odbc/odbc.ini"),
              QStringLiteral(
                  "[demo]\nDriver=MySQL ODBC 3.51 Driver\nSERVER=127.0.0.1\nPORT=%1\nUID=demo\nPWD=demo\n"
                  "[nowhere]\nDriver=MySQL ODBC 3.51 Driver\nSERVER=127.0.0.1\nPORT=1\nUID=demo\nPWD=demo\n"
                  "[other]\nDriver=Other Driver\nSERVER=127.0.0.1\nPORT=%1\n")
                  .arg(m_port)
                  .toUtf8());
    use();
    start();
}

void TestServer::use() const
{
    // Connector/C reads this one once, when it is first used.
    qputenv("MYSQL_UNIX_PORT", socketPath().toUtf8());
    qputenv("ODBCSYSINI", QDir(m_folder.path()).filePath("odbc").toUtf8());
}

TestServer::~TestServer()
{
    if (m_process) {
        resume();
        kill();
    }
}

void TestServer::makeDataFolder() const
{
    // MySQL 5.6 comes with a folder that is ready, system tables and all.
    const QString ready = !m_readyFolder.isEmpty()    ? m_readyFolder
                          : m_brand == Brand::MySql56 ? mySql56Folder() + "/data/mysql"
                                                      : templateFolder(m_brand);
    runToEnd(program("cp"), {"-r", ready, QDir(m_folder.path()).filePath("data")});
}

// Run at each start. MySQL 5.6 knows no CREATE USER IF NOT EXISTS; there and on MariaDB a GRANT makes the
// account.
void TestServer::writeInitFile() const
{
    QString text;
    if (m_brand == Brand::MySql56) // comes with nameless accounts, which go before those for all hosts
        text = "DELETE FROM mysql.user WHERE user='';\nFLUSH PRIVILEGES;\n";
    for (const QString account : {"demo@'%'", "demo@localhost"}) {
        if (m_brand == Brand::MySql9)
            text += QStringLiteral("CREATE USER IF NOT EXISTS %1 IDENTIFIED BY 'demo';\n"
                                   "GRANT ALL PRIVILEGES ON *.* TO %1 WITH GRANT OPTION;\n")
                        .arg(account);
        else
            text +=
                QStringLiteral("GRANT ALL PRIVILEGES ON *.* TO %1 IDENTIFIED BY 'demo' WITH GRANT OPTION;\n")
                    .arg(account);
    }
    writeFile(m_folder.filePath("init.sql"), text.toUtf8());
}

void TestServer::start()
{
    const QString folder = m_folder.path();
    QStringList options{"--no-defaults",
                        QStringLiteral("--datadir=%1/data").arg(folder),
                        QStringLiteral("--tmpdir=%1/tmp").arg(folder),
                        "--socket=" + socketPath(),
                        QStringLiteral("--pid-file=%1/pid").arg(folder),
                        "--bind-address=127.0.0.1",
                        QStringLiteral("--port=%1").arg(m_port),
                        QStringLiteral("--init-file=%1/init.sql").arg(folder),
                        QStringLiteral("--general-log-file=%1/general.log").arg(folder),
                        "--general-log",
                        "--character-set-server=utf8mb4",
                        "--innodb-buffer-pool-size=64M",
                        "--innodb-flush-log-at-trx-commit=0",
                        "--performance-schema=off",
                        "--secure-file-priv="};
    // Newer ones encrypt unasked: a proxy could not read along.
    if (m_brand == Brand::MySql9)
        options << "--tls-version="
                << "--innodb-redo-log-capacity=8M"
                << "--skip-log-bin"
                << "--mysqlx=0"
                << "--log-raw"; // else the log hides what stands after IDENTIFIED BY
    else
        options << "--skip-ssl"
                << "--innodb-log-file-size=8M";
    if (geteuid() == 0)
        options << "--user=root";
    QFile::remove(socketPath()); // a server that was killed leaves it
    m_process = std::make_unique<QProcess>();
    m_process->setProcessChannelMode(QProcess::MergedChannels);
    m_process->setStandardOutputFile(folder + "/server.log", QIODevice::Append);
    // A test program that dies takes its server along.
    m_process->setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
    if (m_brand == Brand::MySql56) {
        options << QStringLiteral("--lc-messages-dir=%1/share").arg(mySql56Folder())
                << QStringLiteral("--character-sets-dir=%1/share/charsets").arg(mySql56Folder());
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("LD_LIBRARY_PATH", mySql56Folder());
        m_process->setProcessEnvironment(environment);
    }
    const QString path = m_brand == Brand::MariaDb   ? program("mariadbd")
                         : m_brand == Brand::MySql56 ? mySql56Folder() + "/mysqld"
                                                     : mySql9Folder() + "/mysqld";
    m_process->start(path, options + m_moreOptions);
    QElapsedTimer clock;
    clock.start();
    // Servers listen on the port a moment before they do on the socket.
    while (!answers(m_port, socketPath())) {
        if (clock.elapsed() > 60000 || m_process->state() == QProcess::NotRunning) {
            give_up(QString::fromUtf8(readFile(folder + "/server.log").right(3000)));
        }
        m_process->waitForFinished(20);
    }
}

void TestServer::kill()
{
    m_process->kill();
    m_process->waitForFinished(10000);
}

void TestServer::freeze()
{
    ::kill(static_cast<pid_t>(m_process->processId()), SIGSTOP);
    // Its threads stop a moment later: one of them could still answer.
    QThread::msleep(50);
}

void TestServer::resume()
{
    if (m_process->processId() > 0)
        ::kill(static_cast<pid_t>(m_process->processId()), SIGCONT);
}

QString TestServer::clientString(const QString &driver, const QString &database, const QString &host) const
{
    QString text =
        QStringLiteral("driver={%1};server=%2;uid=demo;pwd=demo;port=%3").arg(driver, host).arg(m_port);
    if (!database.isEmpty())
        text += ";database=" + database;
    return text;
}

QString TestServer::run(const QString &statements, const QString &database) const
{
    QStringList arguments =
        QStringLiteral("--no-defaults --skip-ssl -udemo -pdemo --batch --skip-column-names "
                       "--default-character-set=utf8mb4 -S")
            .split(u' ')
        << socketPath();
    if (!database.isEmpty())
        arguments << database;
    return runToEnd(program("mariadb"), arguments, statements.toUtf8());
}

bool TestServer::accepts(const QString &user, const QString &password) const
{
    return QProcess::execute(program("mariadb"), {"--no-defaults", "--skip-ssl", "-S", socketPath(),
                                                  "-u" + user, "-p" + password, "-e", "do 1"}) == 0;
}

QStringList TestServer::takeStatements()
{
    QFile log(m_folder.filePath("general.log"));
    if (!log.open(QIODevice::ReadOnly))
        return {};
    log.seek(m_logRead);
    const QString text = QString::fromUtf8(log.readAll());
    m_logRead = log.pos();
    // "261121 10:00:00\t     5 Query\tselect 1", or "2026-11-21T10:00:00.123456Z\t     5 Query\tselect 1"
    // (MySQL since 5.7); a statement's further lines have no such head.
    static const QRegularExpression head(
        "^(?:\\d{6} [ \\d:]{8}|\\d{4}-[-T:.\\d]+Z)?\\t+ *\\d+ (\\w+(?: \\w+)?)(?:\\t(.*))?$");
    QStringList statements;
    bool isStatement = false;
    for (const QString &line : text.split(u'\n')) {
        const QRegularExpressionMatch match = head.match(line);
        if (match.hasMatch()) {
            isStatement = match.captured(1) == u"Query" || match.captured(1) == u"Execute";
            if (isStatement)
                statements << match.captured(2);
        } else if (isStatement) {
            statements.last() += u'\n' + line;
        }
    }
    // The last line's end is no part of the last statement.
    if (isStatement && !statements.isEmpty() && statements.last().endsWith(u'\n'))
        statements.last().chop(1);
    return statements;
}

void TestServers::addRows()
{
    QTest::addColumn<TestServer::Brand>("brand");
    QTest::newRow("MariaDB") << TestServer::Brand::MariaDb;
    QTest::newRow("MySQL 5.6") << TestServer::Brand::MySql56;
    QTest::newRow("MySQL 9") << TestServer::Brand::MySql9;
}

void TestServers::addConnectionRows()
{
    QTest::addColumn<TestServer::Brand>("brand");
    QTest::addColumn<bool>("isBuiltIn");
    QTest::newRow("MariaDB") << TestServer::Brand::MariaDb << true;
    QTest::newRow("MariaDB, ODBC") << TestServer::Brand::MariaDb << false;
    QTest::newRow("MySQL 5.6") << TestServer::Brand::MySql56 << true;
    QTest::newRow("MySQL 9") << TestServer::Brand::MySql9 << true;
    QTest::newRow("MySQL 9, ODBC") << TestServer::Brand::MySql9 << false;
}

QByteArray TestServers::whyMissing(TestServer::Brand brand)
{
    if (brand == TestServer::Brand::MySql56 && TestServer::mySql56Folder().isEmpty())
        return "no MySQL 5.6 here (./test fetches it and sets TARNWELL_MYSQL56)";
    if (brand == TestServer::Brand::MySql9 && TestServer::mySql9Folder().isEmpty())
        return "no MySQL 9 here (./test fetches it and sets TARNWELL_MYSQL9)";
    return {};
}

TestServer &TestServers::of(TestServer::Brand brand)
{
    std::unique_ptr<TestServer> &server = m_servers[brand];
    if (!server) {
        server = std::make_unique<TestServer>(m_moreOptions, brand);
        if (m_setUp)
            m_setUp(*server);
    }
    server->use();
    return *server;
}
