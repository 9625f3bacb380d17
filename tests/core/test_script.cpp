#include "connectiontests.h"
#include "core/command/script.h"
#include "core/driver/sshtunnel.h"
#include "core/session/basconnection.h"
#include "core/session/lastingconnection.h"

#include <QTemporaryDir>

#include <zlib.h>

// Scripts on real servers, whatever stands in them.
class ScriptTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { addBothConnections(); }
    void init();
    void everythingAScriptHoldsReachesTheServer();
    void errorsAreToldWithTheirLines();
    void aTransactionIsTakenBackAsAWhole();
    void aStopEndsALongScript();
    void aLostConnectionEndsTheScript();
    void brokenFilesAreTold();

private:
    QString write(const QString &name, const QByteArray &text)
    {
        QFile file(m_folder.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
            qFatal("%s", qPrintable(file.errorString()));
        return file.fileName();
    }
    ScriptReport run(ScriptOptions options,
                     const std::function<void(const ScriptProgress &)> &onProgress = {})
    {
        ScriptReport report;
        m_session->runner.run(this, "x", [&] {
            report = runScript(*m_session, options, [&](const ScriptProgress &progress) {
                if (onProgress)
                    onProgress(progress);
            });
        });
        return report;
    }
    QString value(const QString &statement) { return valueOf(*m_session->gCn, statement); }

    TestServer m_server;
    QTemporaryDir m_folder;
    BlockingPump m_pump;
    std::unique_ptr<Session> m_session;
};

void ScriptTest::init()
{
    m_server.run("drop database if exists d; create database d; use d; create table t (a int primary key)");
    m_session = std::make_unique<Session>();
    // The program's own connections take small statements together; logged ones do not.
    const auto plain = [this](const QString &string) { return createConnection(string, m_pump); };
    const auto full = [this](const QString &string) {
        return lasting(tunnelled(createConnection, {}))(string, m_pump);
    };
    const ConnectionFactory factory =
        isBuiltIn() ? ConnectionFactory(full) : logged(plain, m_session->statementLog);
    m_session->gCn = m_session->runner.stoppable(factory)(m_server.connectionString(isBuiltIn(), "d"));
    m_session->gCn->open();
}

void ScriptTest::everythingAScriptHoldsReachesTheServer()
{
    write("inner.sql", "insert into t values (7);\ndelimiter //\ninsert into t values (8)//");
    const QByteArray script =
        "\xef\xbb\xbf-- first\nuse d\nsource inner.sql;\n"
        "create table b (a varbinary(20), c varchar(9));\n"
        "insert into b values ('\xff\\';\x80', '漢');\n"
        "delimiter $$\ncreate procedure p() begin select 1; select 2; end$$\ndelimiter ;\n"
        "call p();\n/*!50003 set @x = 1; */;\n"
        "set sql_mode = 'ANSI_QUOTES,NO_BACKSLASH_ESCAPES';\n"
        "insert into b values ('\\', ';');\n"
        "select 1 as \"a;b\";\nset sql_mode = '';\ninsert into t values (9)";
    const QString packed = m_folder.filePath("s.sql.gz");
    gzFile file = gzopen(packed.toLocal8Bit().constData(), "wb");
    gzwrite(file, script.constData(), static_cast<unsigned>(script.size()));
    gzclose(file);
    for (const QString &path : {packed, write("s.sql", script)}) {
        const ScriptReport report = run({.path = path});
        QVERIFY2(report.isComplete,
                 report.firstErrors.empty() ? "" : qPrintable(report.firstErrors[0].description));
        QCOMPARE(value("select group_concat(a order by a) from t"), "7,8,9");
        QCOMPARE(value("select group_concat(hex(a), c) from b"), "FF273B80漢,5C;");
        QCOMPARE(report.rowsTouched, 5);
        m_session->gCn->execute("drop table b");
        m_session->gCn->execute("drop procedure p");
        m_session->gCn->execute("delete from t");
    }
    const QString other = write("sjis.sql", "insert into t values (length('\x95\x5c'))"); // 表
    QVERIFY(run({.path = other, .encoding = ScriptFile::Encoding::Cp932}).isComplete);
    QCOMPARE(value("select a from t"), "3");
    const QString named =
        write("named.sql", "/*!40101 SET NAMES cp932 */;\n"
                           "create table c as select hex(convert('\x95\x5c' using utf8)) a");
    QVERIFY(run({.path = named, .encoding = ScriptFile::Encoding::Cp932}).isComplete);
    QCOMPARE(value("select a from c"), "E8A1A8");
    QVERIFY(!setsCharacterSet("create table character_set_client (a int)"));
}

void ScriptTest::errorsAreToldWithTheirLines()
{
    const QString path =
        write("e.sql", "insert into t values (1);\n\n/* x\n */ insert into\nnowhere values (1);\n"
                       "source e.sql;\nset password = 'geheim', x;\ninsert into t values (2);");
    ScriptReport report = run({.path = path, .goesOnAtErrors = false});
    QVERIFY(!report.isComplete);
    QCOMPARE(report.firstErrors.size(), std::size_t{1});
    QCOMPARE(report.firstErrors[0].line, 4);
    QVERIFY(report.firstErrors[0].description.contains("nowhere"));
    report = run({.path = path, .goesOnAtErrors = true});
    QVERIFY(report.isComplete);
    QCOMPARE(value("select group_concat(a) from t"), "1,2");
    QCOMPARE(report.firstErrors.back().line, 8); // the innermost run had inserted it already
    for (const ScriptError &error : report.firstErrors)
        QVERIFY(!error.statement.contains("geheim"));
    // Behind a statement that is too long to be copied.
    report =
        run({.path = write("l.sql", "insert into t values (length('" + QByteArray("x\n").repeated(1'000'000) +
                                        "'));insert\ninto nowhere values (1);insert into t values (3)"),
             .goesOnAtErrors = true});
    QCOMPARE(report.firstErrors[0].line, 1'000'001);
    QCOMPARE(value("select group_concat(a) from t"), "1,2,3,2000000");
}

void ScriptTest::aTransactionIsTakenBackAsAWhole()
{
    const QString path =
        write("t.sql", "insert into t values (1);insert into t values (1);insert into t values (2)");
    QVERIFY(run({.path = path, .isInTransaction = true}).isTakenBack);
    QCOMPARE(value("select count(*) from t"), "0");
    const ScriptReport report = run({.path = path, .isInTransaction = true, .goesOnAtErrors = true});
    QVERIFY(report.isComplete && !report.isTakenBack);
    m_session->gCn->execute("rollback");
    QCOMPARE(value("select count(*) from t"), "2");
}

void ScriptTest::aStopEndsALongScript()
{
    QByteArray many;
    for (int i = 0; i < 100'000; ++i)
        many += "insert into t values (" + QByteArray::number(i) + ");\n";
    int calls = 0;
    const ScriptReport report =
        run({.path = write("many.sql", many), .isInTransaction = true}, [&](const ScriptProgress &progress) {
            if (++calls == 3 && progress.bytesRead < progress.byteCount)
                m_session->runner.stop();
        });
    QVERIFY(report.isStopped && report.isTakenBack && report.errors == 0);
    QVERIFY(report.statements < 100'000);
    QCOMPARE(value("select count(*) from t"), "0");
}

void ScriptTest::aLostConnectionEndsTheScript()
{
    for (const bool isInTransaction : {true, false}) {
        init();
        const ScriptReport report =
            run({.path = write("k.sql", "insert into t values (1);\nkill connection_id();\n"
                                        "insert into t values (2);"),
                 .isInTransaction = isInTransaction,
                 .goesOnAtErrors = true});
        QVERIFY(!report.isComplete && !report.isTakenBack);
        QVERIFY(report.errors > 0);
        QTRY_COMPARE(m_server.run("select count(*) from d.t").trimmed(), isInTransaction ? "0" : "1");
    }
}

void ScriptTest::brokenFilesAreTold()
{
    write("cut.sql.gz", QByteArray::fromHex("1f8b08000000000002ff2b4ecd494d2e5130b456d0"));
    for (const char *name : {"missing.sql", ".", "cut.sql.gz"}) {
        const ScriptReport report = run({.path = m_folder.filePath(name)});
        QVERIFY2(!report.isComplete && report.errors == 1, name);
    }
}

QTEST_GUILESS_MAIN(ScriptTest)
#include "test_script.moc"
