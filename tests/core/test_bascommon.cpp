#include "core/bascommon.h"
#include "core/codepage.h"
#include "core/profilefile.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

class BasCommonTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void filesAreRead_data();
    void filesAreRead();
    void everySettingSurvivesARoundTrip_data();
    void everySettingSurvivesARoundTrip();
    void unknownLinesAreKept();
    void damagedFilesLeaveTheDefaults_data();
    void damagedFilesLeaveTheDefaults();
    void aFolderThatCannotBeWrittenIsNamedInTheSystemsWords();
    void listItemsFollowTheListRule_data();
    void listItemsFollowTheListRule();
    void codePagesRoundTrip_data();
    void codePagesRoundTrip();

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
    const QString odbc = QStringLiteral("MySQL ODBC 3.51 Driver");
    QTest::newRow("missing keys") << QByteArray("[DataBase]\r\n") << odbc << ""
                                  << "";
    QTest::newRow("empty values") << QByteArray("[DataBase]\r\ndriver=\r\nserver=  \r\n") << odbc << ""
                                  << "";
    QTest::newRow("letter case, blanks, LF") << QByteArray("[database]\nDRIVER= a b \nServer=h\n") << "a b"
                                             << "h"
                                             << "";
    QTest::newRow("value with =") << QByteArray("[DataBase]\r\ndriver=a=b\r\n") << "a=b"
                                  << ""
                                  << "";
    QTest::newRow("password one lower") << QByteArray("[DataBase]\r\npass=`ab\r\n") << odbc << ""
                                        << "abc";
    QTest::newRow("password cut at NUL")
        << QByteArray("[DataBase]\r\npass=`", 18) + QByteArray("\0a\r\n", 4) << odbc << ""
        << "a";
    QTest::newRow("CP932") << QByteArray("[DataBase]\r\nserver=\x93\xfa\x96\x7b\r\n") << odbc << "日本"
                           << "";
    QTest::newRow("UTF-8") << QByteArray("[DataBase]\r\nserver=日本\r\n") << odbc << "日本"
                           << "";
    QTest::newRow("mark") << QByteArray("\xEF\xBB\xBF[DataBase]\r\nserver=é\r\n") << odbc << "é"
                          << "";
    QTest::newRow("first of two") << QByteArray("[DataBase]\r\nserver=a\r\nserver=b\r\n") << odbc << "a"
                                  << "";
    QTest::newRow("other section") << QByteArray("[Query]\r\nserver=a\r\n") << odbc << ""
                                   << "";
}

void BasCommonTest::filesAreRead()
{
    QTemporaryDir folder;
    QFETCH(QByteArray, ini);
    write(folder.filePath(QStringLiteral("Tarnwell.ini")), ini);
    Session session;
    session.programFolder = folder.path();
    sLoadSettings(session);
    QCOMPARE(session.gDsn, QStringLiteral("(なし)"));
    QTEST(session.gDriver, "driver");
    QTEST(session.gServer, "server");
    QTEST(session.gPass, "pass");
}

void BasCommonTest::everySettingSurvivesARoundTrip_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QByteArray>("startOfFile");
    QTest::newRow("plain") << "abc"
                           << "a b!c" << QByteArray("[DataBase]");
    QTest::newRow("Japanese") << "接続ｾﾝﾀｰ"
                              << "abc" << QByteArray("[DataBase]");
    QTest::newRow("no form in CP932") << "é𠮷😀"
                                      << "é𠮷😀" << QByteArray("\xEF\xBB\xBF");
    QTest::newRow("CP932 that looks like UTF-8") << "ﾃｽﾃｽ"
                                                 << "abc" << QByteArray("[DataBase]");
    QTest::newRow("stored as a byte order mark") << "abc" << QString(QChar(0xFF00)) << QByteArray();
    QTest::newRow("next to the surrogates") << "abc" << QString(QChar(0xE000)) << QByteArray();
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
    session.gVariables = {{text}, {QStringLiteral("@x")}};
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
    QCOMPARE(again.gVariables[1].strVariableName, QStringLiteral("x"));
}

void BasCommonTest::unknownLinesAreKept()
{
    QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("Tarnwell.ini"));
    write(path,
          "; mine\r\n[Other]\r\na=1\r\n\r\n[database]\r\nSERVER=old\r\nmore=2\r\n\r\n[Last]\r\nb=3\r\n");
    ProfileFile file(path);
    file.setValue(QStringLiteral("DataBase"), QStringLiteral("server"), QStringLiteral("new"));
    file.setValue(QStringLiteral("DataBase"), QStringLiteral("port"), QStringLiteral("1"));
    file.setValue(QStringLiteral("InOut"), QStringLiteral("p"), QStringLiteral("two\r\nlines"));
    QCOMPARE(file.save(), QString());
    QCOMPARE(read(path),
             QByteArray("; mine\r\n[Other]\r\na=1\r\n\r\n[database]\r\nserver=new\r\nmore=2\r\nport=1\r\n"
                        "\r\n[Last]\r\nb=3\r\n[InOut]\r\np=two\r\n"));
}

void BasCommonTest::damagedFilesLeaveTheDefaults_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("no sections") << QByteArray("server=x\r\n=\r\n[\r\n]\r\n");
    QTest::newRow("rubbish") << QByteArray("\x00\xff\xfe\x80[\x81\n=\n[[]]\n", 17);
    QTest::newRow("a line of 10 MB") << QByteArray(10'000'000, 'x');
    QTest::newRow("UTF-16") << QByteArray("\xFF\xFE[\0D\0", 6);
}

void BasCommonTest::damagedFilesLeaveTheDefaults()
{
    QTemporaryDir folder;
    QFETCH(QByteArray, bytes);
    write(folder.filePath(QStringLiteral("Tarnwell.ini")), bytes);
    write(folder.filePath(QStringLiteral("variable.dat")), bytes);
    Session session;
    session.programFolder = folder.path();
    sLoadSettings(session);
    QCOMPARE(session.gDsn, QStringLiteral("(なし)"));
    QCOMPARE(session.gServer, QString());
}

void BasCommonTest::aFolderThatCannotBeWrittenIsNamedInTheSystemsWords()
{
    Session session;
    session.gIniPath = QStringLiteral("/nowhere/Tarnwell.ini");
    QVERIFY(!sSaveSettings(session).isEmpty());
}

void BasCommonTest::listItemsFollowTheListRule_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("items");
    QTest::newRow("lines") << "a\r\nb\r\n" << QStringList{"a", "b"};
    QTest::newRow("comma") << "@a,@b" << QStringList{"@a", "@b"};
    QTest::newRow("quotes hold commas") << " \"a,b\" , c\n" << QStringList{"a,b", "c"};
    QTest::newRow("quote never closed") << "\"a" << QStringList{"a"};
    QTest::newRow("empty line") << "a\r\n\r\nb" << QStringList{"a", "", "b"};
    QTest::newRow("nothing") << "" << QStringList{};
}

void BasCommonTest::listItemsFollowTheListRule()
{
    QFETCH(QString, text);
    QTEST(listItems(text), "items");
}

void BasCommonTest::codePagesRoundTrip_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("length");
    QTest::newRow("ASCII") << "id,name" << 7;
    QTest::newRow("half-width and full-width") << "ﾃｽﾄ試験" << 7;
    QTest::newRow("NEC and IBM extensions") << "①髙" << 4;
    QTest::newRow("no form") << "é😀" << 2;
    QTest::newRow("would be read as UTF-8") << "ﾃｽ" << 2;
}

void BasCommonTest::codePagesRoundTrip()
{
    QFETCH(QString, text);
    QCOMPARE(fromCodePage(toCodePage(text)), text);
    QTEST(codePageLength(text), "length");
}

QTEST_APPLESS_MAIN(BasCommonTest)
#include "test_bascommon.moc"
