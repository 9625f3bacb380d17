#include "core/bascommon.h"
#include "core/basconnection.h"
#include "core/profilefile.h"
#include "support/lockedfolder.h"
#include "support/rows.h"

#include <QDir>
#include <QFile>
#include <QStringConverter>
#include <QTemporaryDir>
#include <QTest>

#include <sys/stat.h>

class BasCommonTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void filesAreRead_data();
    void filesAreRead();
    void everySettingSurvivesARoundTrip_data();
    void everySettingSurvivesARoundTrip();
    void unknownLinesAreKept();
    void demandsOfEncryptionReachEveryConnection_data();
    void demandsOfEncryptionReachEveryConnection();
    void twoProgramsKeepEachOthersChanges();
    void oddFilesAreLeftAloneAndSaid_data();
    void oddFilesAreLeftAloneAndSaid();
    void aFolderThatCannotBeWrittenLeadsToTheUsersOwn();
    void listItemsFollowTheListRule();

private:
    static void write(const QString &path, const QByteArray &bytes)
    {
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    static QByteArray read(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArrayLiteral("(none)");
    }
};

void BasCommonTest::filesAreRead_data()
{
    QTest::addColumn<QByteArray>("ini");
    QTest::addColumn<QString>("driver");
    QTest::addColumn<QString>("server");
    QTest::addColumn<QString>("pass");
    const QString odbc = "MySQL ODBC 3.51 Driver";
    row("missing keys", QByteArray("[DataBase]\r\n"), odbc, "", "");
    row("empty values", QByteArray("[DataBase]\r\ndriver=\r\nserver=  \r\n"), odbc, "", "");
    row("letter case, blanks, LF", QByteArray("[database]\nDRIVER= a b \nServer=h\n"), "a b", "h", "");
    row("value with =", QByteArray("[DataBase]\r\ndriver=a=b\r\n"), "a=b", "", "");
    row("password one lower", QByteArray("[DataBase]\r\npass=`ab\r\n"), odbc, "", "abc");
    row("password cut at NUL", QByteArray("[DataBase]\r\npass=`", 18) + QByteArray("\0a\r\n", 4), odbc, "",
        "a");
    row("CP932", QByteArray("[DataBase]\r\nserver=\x93\xfa\x96\x7b\r\n"), odbc, "日本", "");
    row("UTF-8", QByteArray("[DataBase]\r\nserver=日本\r\n"), odbc, "日本", "");
    row("mark", QByteArray("\xEF\xBB\xBF[DataBase]\r\nserver=é\r\n"), odbc, "é", "");
    const QByteArray wide = QStringEncoder(QStringEncoder::Utf16, QStringEncoder::Flag::WriteBom)(
        QStringLiteral("[DataBase]\r\nserver=é\r\n"));
    row("UTF-16", wide, odbc, "é", "");
    row("first of two", QByteArray("[DataBase]\r\nserver=a\r\nserver=b\r\n"), odbc, "a", "");
    row("other section", QByteArray("[Query]\r\nserver=a\r\n"), odbc, "", "");
    row("rubbish", QByteArray("\x00\xff\xfe\x80[\x81\n=\n[[]]\n[\r\n]\r\n", 20), odbc, "", "");
    row("a line of 10 MB", QByteArray(10'000'000, 'x'), odbc, "", "");
}

void BasCommonTest::filesAreRead()
{
    QTemporaryDir folder;
    QFETCH(QByteArray, ini);
    write(folder.filePath("Tarnwell.ini"), ini);
    write(folder.filePath("variable.dat"), ini);
    Session session;
    session.programFolder = folder.path();
    sLoadSettings(session);
    QCOMPARE(session.gDsn, "(なし)");
    QTEST(session.gDriver, "driver");
    QTEST(session.gServer, "server");
    QTEST(session.gPass, "pass");
}

void BasCommonTest::everySettingSurvivesARoundTrip_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QByteArray>("startOfFile");
    row("plain", "abc", "a b!c", QByteArray("[DataBase]"));
    row("Japanese, NEC and IBM extensions", "接続ｾﾝﾀｰ①髙", "abc", QByteArray("[DataBase]"));
    row("no form in CP932", "é𠮷😀", "é𠮷😀", QByteArray("\xEF\xBB\xBF"));
    row("CP932 that looks like UTF-8", "ﾃｽﾃｽ", "abc", QByteArray("[DataBase]"));
    row("stored as a byte order mark", "abc", QString(QChar(0xFF00)), QByteArray());
    row("stored with blanks of other kinds", "abc", QStringLiteral("、a¡"), QByteArray());
    row("next to the surrogates", "abc", QString(QChar(0xE000)), QByteArray());
}

void BasCommonTest::everySettingSurvivesARoundTrip()
{
    QTemporaryDir folder;
    QFETCH(QString, text);
    QFETCH(QString, password);
    Session session;
    session.programFolder = folder.path();
    sLoadSettings(session);
    session.gServer = session.gTextPath = session.gInOutPath = text;
    session.gPass = password;
    session.gVariables = {{text}, {"@x"}};
    QCOMPARE(sSaveSettings(session), QString());
    QFETCH(QByteArray, startOfFile);
    QCOMPARE(read(session.gIniPath).left(startOfFile.size()), startOfFile);

    Session again;
    again.programFolder = folder.path();
    sLoadSettings(again);
    QCOMPARE(again.gServer, text);
    QCOMPARE(again.gPass, password);
    QCOMPARE(again.gInOutPath, text);
    QCOMPARE(again.gVariables.size(), std::size_t(2));
    QCOMPARE(again.gVariables[0].strVariableName, text);
    QCOMPARE(again.gVariables[1].strVariableName, "x");
}

void BasCommonTest::unknownLinesAreKept()
{
    QTemporaryDir folder;
    const QString path = folder.filePath("Tarnwell.ini");
    write(path,
          "; mine\r\n[Other]\r\na=1\r\n\r\n[database]\r\nSERVER=old\r\nmore=2\r\n\r\n[Last]\r\nb=3\r\n");
    ProfileFile file(path);
    file.setValue("DataBase", "server", "new");
    file.setValue("DataBase", "port", "1");
    file.setValue("InOut", "p", "two\r\nlines");
    QCOMPARE(file.save(), QString());
    QCOMPARE(read(path),
             QByteArray("; mine\r\n[Other]\r\na=1\r\n\r\n[database]\r\nserver=new\r\nmore=2\r\nport=1\r\n"
                        "\r\n[Last]\r\nb=3\r\n[InOut]\r\np=two\r\n"));
}

void BasCommonTest::demandsOfEncryptionReachEveryConnection_data()
{
    QTest::addColumn<QByteArray>("ini");
    QTest::addColumn<QString>("connectionString");
    const QByteArray dsn = "[DataBase]\r\ndsn=kept\r\n[TLS]\r\n",
                     driver = "[DataBase]\r\ndriver=d\r\n[TLS]\r\n";
    const QString byDriver = "driver={d};server=;uid=;port=";
    row("nothing demanded", dsn + "mode=if offered\r\n", "kept");
    row("required", dsn + "mode=Required\r\n", "DSN=kept;FORCETLS=1");
    row("misspelt", driver + "mode=requird\r\n", byDriver + ";FORCETLS=1;SSLVERIFY=1");
    row("authority", driver + "mode=verified\r\nca=/a;b\r\ncleartext=1\r\n",
        byDriver + ";FORCETLS=1;SSLVERIFY=1;SSLCA={/a;b};ENABLE_CLEARTEXT_PLUGIN=1");
    row("certificate", driver + "cert=/c\r\nkey=/k\r\n", byDriver + ";SSLCERT=/c;SSLKEY=/k");
    row("pinned", driver + "fingerprint=AA:BB\r\n", byDriver + ";TLSPEERFP=AA:BB");
}

void BasCommonTest::demandsOfEncryptionReachEveryConnection()
{
    QTemporaryDir folder;
    QFETCH(QByteArray, ini);
    write(folder.filePath("Tarnwell.ini"), ini);
    Session session;
    session.programFolder = folder.path();
    sLoadSettings(session);
    QTEST(connectionStringOf(session), "connectionString");
}

void BasCommonTest::twoProgramsKeepEachOthersChanges()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("Tarnwell.ini");
    write(path, "[DataBase]\r\nserver=s\r\nuser=u\r\npass=abc\r\n");
    write(folder.filePath("variable.dat"), "old\r\nboth\r\n");
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    Session one, two, later;
    for (Session *session : {&one, &two}) {
        session->programFolder = folder.path();
        QCOMPARE(sLoadSettings(*session), QString());
    }
    QVERIFY(!QFile::permissions(path).testFlag(QFile::ReadOther)); // it holds the password
    one.gServer = "s1";
    one.gPass.clear();
    one.gVariables = {{"old"}, {"both"}, {"of one"}};
    two.gPort = "2";
    two.gVariables = {{"both"}, {"of two"}};
    QCOMPARE(sSaveSettings(one), QString());
    QCOMPARE(sSaveSettings(two), QString());

    later.programFolder = folder.path();
    sLoadSettings(later);
    QCOMPARE(later.gServer + later.gUser + later.gPort + later.gPass, "s1u2");
    QCOMPARE(later.variablesAsRead, (QStringList{"both", "of two", "of one"}));
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files).size(), 2); // no lock is left
}

void BasCommonTest::oddFilesAreLeftAloneAndSaid_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("kind");
    for (const char *name : {"Tarnwell.ini", "variable.dat"})
        for (const char *kind : {"a folder", "a pipe", "more than a megabyte"})
            row(qPrintable(QString(name) + ' ' + kind), QString(name), QString(kind));
}

void BasCommonTest::oddFilesAreLeftAloneAndSaid()
{
    QFETCH(QString, name);
    QFETCH(QString, kind);
    const QTemporaryDir folder;
    const QString path = folder.filePath(name);
    const QByteArray large = "[DataBase]\r\nserver=s\r\n" + QByteArray(2'000'000, 'x');
    if (kind == u"a folder")
        QVERIFY(QDir().mkpath(path));
    else if (kind == u"a pipe")
        QCOMPARE(::mkfifo(qPrintable(path), 0600), 0);
    else
        write(path, large);
    Session session;
    session.programFolder = folder.path();
    QVERIFY(sLoadSettings(session).contains(path));
    session.gServer = "new";
    QVERIFY(sSaveSettings(session).contains(path));
    QVERIFY(!QFileInfo(path).isFile() || read(path) == large);
}

void BasCommonTest::aFolderThatCannotBeWrittenLeadsToTheUsersOwn()
{
    const QTemporaryDir folder, users;
    QVERIFY(QFile::setPermissions(users.path(), QFile::Permissions(0x7777)));
    qputenv("XDG_CONFIG_HOME", users.path().toLocal8Bit());
    write(folder.filePath("Tarnwell.ini"), "[TLS]\r\nmode=required\r\n[DataBase]\r\nserver=installed\r\n");
    Session session;
    session.programFolder = folder.path();
    const LockedFolder locked(folder.path());
    const QString said = sLoadSettings(session);
    QVERIFY2(said.contains(users.path()), qPrintable(said));
    QCOMPARE(session.gServer, "installed");
    session.gServer = "mine";
    QCOMPARE(sSaveSettings(session), QString());
    QCOMPARE(sLoadSettings(session), QString()); // said once
    QCOMPARE(session.gServer, "mine");
    QCOMPARE(session.tls.mode, TlsMode::Required);
}

void BasCommonTest::listItemsFollowTheListRule()
{
    QCOMPARE(listItems("a\r\nb\r\n"), (QStringList{"a", "b"}));
    QCOMPARE(listItems(" \"a,b\" , c\n"), (QStringList{"a,b", "c"}));
    QCOMPARE(listItems("\"a"), QStringList{"a"}); // the quote is never closed
    QCOMPARE(listItems("a\r\n\r\nb"), (QStringList{"a", "", "b"}));
    QCOMPARE(listItems(""), QStringList{});
}

QTEST_APPLESS_MAIN(BasCommonTest)
#include "test_bascommon.moc"
