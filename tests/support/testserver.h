#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <functional>
#include <map>
#include <memory>

// A private server for one test program: own data folder, own temporary folder, a free port on 127.0.0.1
// only, a general log. The account "demo" with the password "demo" may do everything.
// Ends with the object. A server that does not start ends the test program with a failure.
class TestServer {
public:
    enum class Brand { MariaDb, MySql56, MySql9 };

    // Begins with a copy of the folder, when one is given, in place of the brand's own.
    explicit TestServer(const QStringList &moreOptions = {}, Brand brand = Brand::MariaDb,
                        const QString &readyFolder = {});
    ~TestServer();
    TestServer(const TestServer &) = delete;
    TestServer &operator=(const TestServer &) = delete;

    // The folders of the servers that ./test has fetched; empty: there is none.
    static QString mySql56Folder() { return qEnvironmentVariable("TARNWELL_MYSQL56"); }
    static QString mySql9Folder() { return qEnvironmentVariable("TARNWELL_MYSQL9"); }

    int port() const { return m_port; }
    QString socketPath() const { return m_folder.filePath("s"); }
    QString folder() const { return m_folder.path(); } // the server may write below it

    // By the ODBC driver that ODBCSYSINI registers, and by the built-in driver.
    QString odbcString(const QString &database = {}, const QString &host = "127.0.0.1") const
    {
        return clientString("MySQL ODBC 3.51 Driver", database, host);
    }
    QString nativeString(const QString &database = {}, const QString &host = "127.0.0.1") const
    {
        return clientString("MySQL (内蔵)", database, host);
    }
    QString connectionString(bool isBuiltIn, const QString &database = {}) const
    {
        return isBuiltIn ? nativeString(database) : odbcString(database);
    }

    // Runs statements with the command line client, outside of the program under test; its output.
    QString run(const QString &statements, const QString &database = {}) const;
    // Whether the account may log in.
    bool accepts(const QString &user, const QString &password) const;
    // The texts of the statements that clients sent since the last call, oldest first (Query and Execute).
    QStringList takeStatements();

    void use() const; // its data sources and its socket are the ones that this process finds
    void kill();      // SIGKILL
    void start();     // again on the same port and data
    void freeze();    // SIGSTOP
    void resume();    // SIGCONT

private:
    void makeDataFolder() const;
    void writeInitFile() const;
    QString clientString(const QString &driver, const QString &database, const QString &host) const;

    QTemporaryDir m_folder;
    QStringList m_moreOptions;
    QString m_readyFolder;
    Brand m_brand;
    int m_port = 0;
    qint64 m_logRead = 0;
    std::unique_ptr<QProcess> m_process;
};

// One server of each brand for the tests of one program, started when it is first asked for. A test that is
// to run on all of them adds their rows, in its own data function or, for all tests, in initTestCase_data():
//     QFETCH(TestServer::Brand, brand);       // QFETCH_GLOBAL
//     SKIP_WITHOUT(brand);
//     TestServer &server = m_servers.of(brand);
class TestServers {
public:
    // setUp: what each server gets when it has started.
    explicit TestServers(const QStringList &moreOptions = {},
                         const std::function<void(TestServer &server)> &setUp = {})
        : m_moreOptions(moreOptions)
        , m_setUp(setUp)
    {
    }

    static void addRows(); // the column "brand"
    // The columns "brand" and "isBuiltIn": Connector/ODBC 3.1.15 cannot reach MySQL 5.6.
    static void addConnectionRows();
    static QByteArray whyMissing(TestServer::Brand brand); // empty: it can be started
    TestServer &of(TestServer::Brand brand);

private:
    QStringList m_moreOptions;
    std::function<void(TestServer &)> m_setUp;
    std::map<TestServer::Brand, std::unique_ptr<TestServer>> m_servers;
};

#define SKIP_WITHOUT(brand)                                                                                  \
    if (const QByteArray missing = TestServers::whyMissing(brand); !missing.isEmpty())                       \
    QSKIP(missing.constData())
