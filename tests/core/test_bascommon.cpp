#include "core/session/bascommon.h"
#include "core/session/basconnection.h"
#include "core/session/profilefile.h"
#include "support/files.h"
#include "support/lockedfolder.h"
#include "support/rows.h"

#include <QDir>
#include <QStringConverter>
#include <QTemporaryDir>

#include <sys/stat.h>

class BasCommonTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void filesAreRead_data();
    void filesAreRead();
    void everySettingSurvivesARoundTrip_data();
    void everySettingSurvivesARoundTrip();
    void unknownLinesAreKept();
    void demandsOfEncryptionReachEveryConnection();
    void twoProgramsKeepEachOthersChanges();
    void oddFilesAreLeftAloneAndSaid();
    void aFolderThatCannotBeWrittenLeadsToTheUsersOwn();
};

void BasCommonTest::filesAreRead_data()
{
    // The file, and what it gives: driver, server, password.
    const Rows<QByteArray, QString> row;
    const QString none = "MySQL ODBC 3.51 Driver|";
    const auto server = [](const QByteArray &name) { return "[DataBase]\r\nserver=" + name + "\r\n"; };
    row("no value", QByteArray("[DataBase]\r\ndriver=\r\n[Query]\r\nserver=a\r\n"), none + '|');
    row("case, blanks, LF, =", QByteArray("[database]\nDRIVER= a=b \nServer=h\nserver=i\n"), "a=b|h|");
    row("password one lower", QByteArray("[DataBase]\r\npass=`ab\r\n"), none + "|abc");
    row("password that was changed by hand", QByteArray("[DataBase]\r\npass=`a\r\npassquoted=\"b \"\r\n"),
        none + "|ab");
    row("password cut at NUL", QByteArray("[DataBase]\r\npass=`\0a\r\n", 22), none + "|a");
    row("CP932", server("\x93\xfa\x96\x7b"), none + "日本|");
    row("UTF-8", server("日本"), none + "日本|");
    row("mark", "\xEF\xBB\xBF" + server("é"), none + "é|");
    const QByteArray wide =
        QStringEncoder(QStringEncoder::Utf16, QStringEncoder::Flag::WriteBom)(QString(server("é")));
    row("UTF-16", wide, none + "é|");
    row("rubbish", QByteArray("\x00\xff\xfe\x80[\x81\n=\n[[]]\n[\r\n]\r\n", 20), none + '|');
}

void BasCommonTest::filesAreRead()
{
    const QTemporaryDir folder;
    const auto [ini, read] = fetched<QByteArray, QString>();
    writeFile(folder.filePath("Tarnwell.ini"), ini);
    writeFile(folder.filePath("variable.dat"), ini);
    Session session;
    session.programFolder = folder.path();
    sLoadSettings(session);
    QCOMPARE((QStringList{session.gDriver, session.gServer, session.gPass}.join('|')), read);
}

void BasCommonTest::everySettingSurvivesARoundTrip_data()
{
    const Rows<QString, QString, QByteArray> row;
    row("Japanese, NEC and IBM extensions", "接続ｾﾝﾀｰ①髙", "a b!c", QByteArray("[DataBase]"));
    row("no form in CP932", "é𠮷😀", "é𠮷😀", QByteArray("\xEF\xBB\xBF"));
    row("CP932 that looks like UTF-8", "ﾃｽﾃｽ", "abc", QByteArray("[DataBase]"));
    row("stored as a byte order mark", "abc", QString(QChar(0xFF00)), QByteArray());
    row("stored with blanks of other kinds", "abc", "、a¡", QByteArray());
    row("stored with blanks at its ends", "abc", "!!a!", QByteArray());
    row("stored as a blank", "abc", "!", QByteArray());
    row("next to the surrogates", "abc", QString(QChar(0xE000)), QByteArray());
}

void BasCommonTest::everySettingSurvivesARoundTrip()
{
    const QTemporaryDir folder;
    const auto [text, password, startOfFile] = fetched<QString, QString, QByteArray>();
    Session session, again;
    session.programFolder = again.programFolder = folder.path();
    sLoadSettings(session);
    session.gServer = session.gInOutPath = text;
    session.gPass = password;
    session.gVariables = {{text}, {"@x"}};
    QCOMPARE(sSaveSettings(session), QString());
    QVERIFY(readFile(session.gIniPath).startsWith(startOfFile));
    sLoadSettings(again);
    QCOMPARE((QStringList{again.gServer, again.gInOutPath, again.gPass}),
             (QStringList{text, text, password}));
    QCOMPARE(again.gVariables.size(), std::size_t(2));
    QCOMPARE(again.gVariables[0].strVariableName, text);
    QCOMPARE(again.gVariables[1].strVariableName, "x");
    QCOMPARE(listItems(" \"a,b\" , c\n\r\n\"d"), (QStringList{"a,b", "c", "", "d"}));
}

void BasCommonTest::unknownLinesAreKept()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("Tarnwell.ini");
    writeFile(path,
              "; mine\r\n[Other]\r\na=1\r\n\r\n[database]\r\nSERVER=old\r\nmore=2\r\n\r\n[Last]\r\nb=3\r\n");
    ProfileFile file(path);
    file.setValue("DataBase", "server", "new");
    file.setValue("DataBase", "port", "1");
    file.setValue("InOut", "p", "two\r\nlines");
    QCOMPARE(file.save(), QString());
    QCOMPARE(readFile(path),
             QByteArray("; mine\r\n[Other]\r\na=1\r\n\r\n[database]\r\nserver=new\r\nmore=2\r\nport=1\r\n"
                        "\r\n[Last]\r\nb=3\r\n[InOut]\r\np=two\r\n"));
}

void BasCommonTest::demandsOfEncryptionReachEveryConnection()
{
    const QTemporaryDir folder;
    const QString byDriver = "driver={d};server=;uid=;port=";
    for (const auto &[ini, string] :
         {std::pair<QByteArray, QString>{"dsn=kept\r\n[TLS]\r\nmode=if offered", "kept"},
          {"dsn=kept\r\n[TLS]\r\nmode=Required", "DSN=kept;FORCETLS=1"},
          {"driver=d\r\n[TLS]\r\nmode=requird", byDriver + ";FORCETLS=1;SSLVERIFY=1"}, // misspelt
          {"driver=d\r\n[TLS]\r\nmode=verified\r\nca=/a;b\r\ncleartext=1",
           byDriver + ";FORCETLS=1;SSLVERIFY=1;SSLCA={/a;b};ENABLE_CLEARTEXT_PLUGIN=1"},
          {"driver=d\r\n[TLS]\r\ncert=/c\r\nkey=/k", byDriver + ";SSLCERT=/c;SSLKEY=/k"},
          {"driver=d\r\n[TLS]\r\nfingerprint=AA:BB", byDriver + ";TLSPEERFP=AA:BB"}}) {
        writeFile(folder.filePath("Tarnwell.ini"), "[DataBase]\r\n" + ini + "\r\n");
        Session session;
        session.programFolder = folder.path();
        sLoadSettings(session);
        QCOMPARE(connectionStringOf(session), string);
    }
}

void BasCommonTest::twoProgramsKeepEachOthersChanges()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath("Tarnwell.ini");
    writeFile(path, "[DataBase]\r\nserver=s\r\nuser=u\r\npass=abc\r\n");
    writeFile(folder.filePath("variable.dat"), "old\r\nboth\r\n");
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup | QFile::ReadOther);
    Session one, two, later;
    for (Session *session : {&one, &two, &later})
        session->programFolder = folder.path();
    QCOMPARE(sLoadSettings(one), QString());
    QCOMPARE(sLoadSettings(two), QString());
    QVERIFY(!QFile::permissions(path).testFlag(QFile::ReadOther)); // it holds the password
    one.gServer = "s1";
    one.gPass.clear();
    one.gVariables = {{"old"}, {"both"}, {"of one"}};
    two.gPort = "2";
    two.gVariables = {{"both"}, {"of two"}};
    QCOMPARE(sSaveSettings(one), QString());
    QCOMPARE(sSaveSettings(two), QString());

    sLoadSettings(later);
    QCOMPARE(later.gServer + later.gUser + later.gPort + later.gPass, "s1u2");
    QCOMPARE(later.variablesAsRead, (QStringList{"both", "of two", "of one"}));
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files).size(), 2); // no lock is left
}

void BasCommonTest::oddFilesAreLeftAloneAndSaid()
{
    const QByteArray large = "[DataBase]\r\nserver=s\r\n" + QByteArray(2'000'000, 'x');
    for (const char *name : {"Tarnwell.ini", "variable.dat"})
        for (const QString kind : {"a folder", "a pipe", "too large"}) {
            const QTemporaryDir folder;
            const QString path = folder.filePath(name);
            if (kind == u"a folder")
                QVERIFY(QDir().mkpath(path));
            else if (kind == u"a pipe")
                QCOMPARE(::mkfifo(qPrintable(path), 0600), 0);
            else
                writeFile(path, large);
            Session session;
            session.programFolder = folder.path();
            QVERIFY2(sLoadSettings(session).contains(path), qPrintable(path + kind));
            session.gServer = "new";
            QVERIFY2(sSaveSettings(session).contains(path), qPrintable(path + kind));
            QVERIFY(!QFileInfo(path).isFile() || readFile(path) == large);
        }
}

void BasCommonTest::aFolderThatCannotBeWrittenLeadsToTheUsersOwn()
{
    const QTemporaryDir folder, users;
    QVERIFY(QFile::setPermissions(users.path(), QFile::Permissions(0x7777)));
    qputenv("XDG_CONFIG_HOME", users.path().toLocal8Bit());
    writeFile(folder.filePath("Tarnwell.ini"),
              "[TLS]\r\nmode=required\r\n[DataBase]\r\nserver=installed\r\n");
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

QTEST_APPLESS_MAIN(BasCommonTest)
#include "test_bascommon.moc"
