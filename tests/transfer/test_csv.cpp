#include "core/driver/connect.h"
#include "core/session/basconnection.h"
#include "support/cuttingproxy.h"
#include "support/files.h"
#include "support/rows.h"
#include "support/smalldisk.h"
#include "support/testserver.h"
#include "transfer/csv/csvexport.h"
#include "transfer/csv/csvimport.h"
#include "transfer/load/scriptlook.h"

#include <QTemporaryDir>

namespace {

void noReport(const TransferStatus &) {}

QString exported(const ExportOptions &options, const std::vector<Field> &fields,
                 const std::vector<std::vector<std::optional<std::string>>> &rows)
{
    RowExport file(options, fields);
    for (const auto &row : rows) {
        std::vector<Cell> cells;
        for (const auto &value : row)
            cells.push_back(value ? Cell{*value, false} : Cell{{}, true});
        file.addRow(cells);
    }
    file.finish();
    return QString::fromUtf8(readFile(options.path));
}

// A session whose entries lead to the server, built in.
struct LocalStage {
    explicit LocalStage(const TestServer &server)
    {
        session.connectBy(createConnection, pump);
        session.gDsn = noDataSource();
        session.gDriver = nativeDriverName();
        session.gServer = "127.0.0.1";
        session.gPort = QString::number(server.port());
        session.gUser = session.gPass = "demo";
    }
    BlockingPump pump;
    Session session;
};

} // namespace

class CsvTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void eachFormHoldsEachValue();
    void nothingIsReplacedSilently();
    void whatEndsAnExportLeavesNoFile_data();
    void whatEndsAnExportLeavesNoFile();
    void aFileIsReadAsItWasWritten_data();
    void aFileIsReadAsItWasWritten();
    void charactersAreWhole_data();
    void charactersAreWhole();
    void aRowHasAnEnd();
    void whatIsExportedIsImported();
    void floatsKeepTheirDigits_data();
    void floatsKeepTheirDigits();
    void rowsThatDoNotFitAreTold_data();
    void rowsThatDoNotFitAreTold();
    void aFileThatHasOtherColumnsIsRefused_data();
    void aFileThatHasOtherColumnsIsRefused();
    void anAccountMayDoLittle_data();
    void anAccountMayDoLittle();
    void rowsGoByLoadDataLocal_data();
    void rowsGoByLoadDataLocal();
    void whatEndsALocalLoadIsTold_data();
    void whatEndsALocalLoadIsTold();
    void aBreakSaysWhatIsIn_data();
    void aBreakSaysWhatIsIn();
    void aScriptIsLookedAtFirst();

private:
    ImportReport import(const ImportOptions &options);

    TestServers m_servers{{"--character-set-server=utf8mb4"}};
    QTemporaryDir m_folder;
};

void CsvTest::eachFormHoldsEachValue()
{
    const std::vector<Field> fields{{"id", FieldKind::Number}, {"a,b", FieldKind::Text}};
    const std::vector<std::vector<std::optional<std::string>>> rows{
        {"1", "x \"y\"\n"}, {"2", std::nullopt}, {"3", ""}, {"4", "NULL"}};
    ExportOptions options;
    options.path = m_folder.filePath("out");
    options.table = "t";
    options.encoding = TextEncoding::Utf8;
    options.hasCrLf = false;
    QCOMPARE(exported(options, fields, rows), "id,\"a,b\"\n1,\"x \"\"y\"\"\n\"\n2,\n3,\"\"\n4,NULL\n");
    options.nullText = "NULL";
    QVERIFY(exported(options, fields, rows).endsWith("2,NULL\n3,\"\"\n4,\"NULL\"\n"));
    options.form = ExportForm::JsonLines;
    QVERIFY(exported(options, fields, rows)
                .startsWith("{\"id\": 1, \"a,b\": \"x \\\"y\\\"\\n\"}\n{\"id\": 2, \"a,b\": null}\n"));
    QCOMPARE(exported(options, {fields[0], fields[0]}, {{"1", "2"}}), "{\"id\": 1, \"id (2)\": 2}\n");
    options.form = ExportForm::Json;
    QVERIFY(exported(options, fields, {}).simplified() == "[ ]");
    options.form = ExportForm::Insert;
    QVERIFY(exported(options, fields, rows).contains("INSERT INTO `t` (`id`, `a,b`) VALUES (2, NULL);\n"));
}

void CsvTest::nothingIsReplacedSilently()
{
    ExportOptions options;
    options.path = m_folder.filePath("cp932.csv");
    options.encoding = TextEncoding::Cp932;
    const std::vector<Field> fields{{"id", FieldKind::Number}, {"名前", FieldKind::Text}};
    QString told;
    try {
        exported(options, fields, {{"1", "表①髙"}, {"2", "café 😀"}});
    } catch (const Failure &error) {
        told = error.description();
    }
    QVERIFY2(told.contains("文字が 2 個") && told.contains("\n2 行目「名前」: é (U+00E9)") &&
                 told.contains("(U+1F600)"),
             qPrintable(told));
    QVERIFY(!QFile::exists(options.path));
    exported(options, fields, {{"1", "表①髙"}});
    QCOMPARE(readFile(options.path), QByteArray("id,\x96\xBC\x91\x4F\r\n1,\x95\x5C\x87\x40\xFB\xFC\r\n"));
    options.replacesUnknown = true;
    exported(options, fields, {{"2", "café"}});
    QVERIFY(readFile(options.path).endsWith("2,caf?\r\n"));
}

void CsvTest::whatEndsAnExportLeavesNoFile_data()
{
    const Rows<QString, QString> row;
    row("connection cut", "KILL %1", "行目まで書いた後で終わりました。ファイルは残していません");
    row("disk full", {}, "書き込めません");
    row("stopped", "stop", "中断");
}

void CsvTest::whatEndsAnExportLeavesNoFile()
{
    const auto [meanwhile, words] = fetched<QString, QString>();
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    LocalStage stage(server);
    stage.session.gCn = stage.session.makeConnection(server.nativeString("mysql"));
    stage.session.gCn->open();
    const QTemporaryDir folder;
    ExportOptions options = excelPreset();
    options.path = folder.filePath("rows.csv");
    writeFile(options.path, "the old one");
    const SmallDisk disk(meanwhile.isEmpty() ? 3'000'000 : 0);
    int times = 0;
    QString told;
    try {
        exportStatement(stage.session, "SELECT seq, REPEAT('x', 100) FROM seq_1_to_200000", options,
                        [&](const TransferStatus &) {
                            if (++times != 3) // in the midst of the rows
                                return;
                            if (meanwhile == u"stop")
                                throw interruptedError("中断");
                            if (!meanwhile.isEmpty())
                                server.run(meanwhile.arg(
                                    server
                                        .run("SELECT ID FROM information_schema.PROCESSLIST WHERE INFO "
                                             "LIKE 'SELECT seq%'")
                                        .trimmed()));
                        });
    } catch (const Failure &error) {
        told = error.description();
    }
    QVERIFY2(told.contains(words), qPrintable(told));
    QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList{"rows.csv"});
    QCOMPARE(readFile(options.path), "the old one");
}

void CsvTest::aFileIsReadAsItWasWritten_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("values"); // rows by "/", fields by "|", quoted ones in brackets
    QTest::addColumn<bool>("hasHeader");
    using Bytes = QByteArray;
    row("mark, quotes", Bytes("\xEF\xBB\xBFid,name\r\n1,\"a \"\"b\"\",\r\nc\"\r\n\r\n2,\r\n"),
        QString("1:id|name/2:1|[a \"b\",\r\nc]/5:2|"), true);
    row("CP932, tabs", Bytes("\x96\xBC\x91\x4F\tx\n\x95\x5C\t2"), QString("1:名前|x/2:表|2"), true);
    row("semicolons, no header", Bytes("1;2,5\n3;4,5\n"), QString("1:1|2,5/2:3|4,5"), false);
    row("UTF-16",
        Bytes("\xFF\xFE"
              "a\0,\0b\0\n\0",
              10),
        QString("1:a|b"), true);
}

void CsvTest::aFileIsReadAsItWasWritten()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, values);
    QFETCH(bool, hasHeader);
    const QString path = m_folder.filePath("in.csv");
    writeFile(path, bytes);
    const CsvFormat format = guessedFormat(bytes);
    QCOMPARE(format.hasHeader, hasHeader);
    CsvReader reader(path, format);
    QStringList rows;
    for (CsvRow csvRow; reader.next(csvRow);) {
        QStringList fields;
        for (const CsvField &field : csvRow.fields)
            fields << QString(field.isQuoted ? "[%1]" : "%1").arg(QString::fromStdString(field.text));
        rows << QString::number(csvRow.line) + ":" + fields.join("|");
    }
    QCOMPARE(rows.join("/"), values);
}

ImportReport CsvTest::import(const ImportOptions &options)
{
    BlockingPump pump;
    Session session;
    session.connectBy(createConnection, pump);
    session.gCn = session.makeConnection(m_servers.of(TestServer::Brand::MariaDb).nativeString());
    session.gCn->open();
    return importCsv(session, options, noReport);
}

// A quote that is never closed would bring the whole file into memory, and the preview's into the window.
void CsvTest::charactersAreWhole_data()
{
    const Rows<QByteArray, FileEncoding, QString> row;
    // The pieces that a file is read in end within it.
    const QString pair = QString(128 * 1024 - 3, 'x') + QString("😀");
    const QByteArray bytes(reinterpret_cast<const char *>(pair.utf16()), pair.size() * 2);
    row("a pair in two pieces", "\xFF\xFE" + bytes + QByteArray("\n\0", 2), FileEncoding::Utf16, pair);
    row("half of a pair", "\xFF\xFE" + bytes.chopped(2), FileEncoding::Utf16, "文字の途中");
    row("half of a unit", "\xFF\xFE" + bytes.chopped(1), FileEncoding::Utf16, "文字の途中");
    row("half of CP932", "a\n\x95", FileEncoding::Cp932, "文字の途中");
    row("no CP932", "a\n\x95\x5c\nb\x95\n\nd\n", FileEncoding::Cp932,
        "3 行目に、選んだ文字コードでは読めない");
}

void CsvTest::charactersAreWhole()
{
    const auto [bytes, encoding, expected] = fetched<QByteArray, FileEncoding, QString>();
    const QString path = m_folder.filePath("whole.csv");
    writeFile(path, bytes);
    QString read;
    try {
        CsvReader reader(path, {.encoding = encoding});
        for (CsvRow csvRow; reader.next(csvRow);)
            read = QString::fromStdString(csvRow.fields[0].text);
    } catch (const Failure &failure) {
        read = failure.description();
    }
    QVERIFY(read.endsWith(expected) || read.contains(expected));
}

void CsvTest::aRowHasAnEnd()
{
    const QString path = m_folder.filePath("open.csv");
    writeFile(path, "id\n1\n\"" + QByteArray(2'000'000, 'x'));
    CsvReader reader(path, {}, 1'000'000);
    CsvRow row;
    QVERIFY(reader.next(row) && reader.next(row));
    try {
        reader.next(row);
        QFAIL("read on");
    } catch (const Failure &error) {
        QCOMPARE(error.description(), "3 行目からの行が長すぎます。閉じていない「\"」があるかもしれません。");
    }
}

void CsvTest::whatIsExportedIsImported()
{
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    server.run(
        "DROP DATABASE IF EXISTS c; CREATE DATABASE c; USE c; CREATE TABLE t(id INT AUTO_INCREMENT "
        "PRIMARY KEY, v VARCHAR(20), b VARBINARY(5), bits BIT(9), m DECIMAL(9,2), d DATETIME, s VARCHAR(9) "
        "CHARACTER SET sjis)");
    ExportOptions out;
    out.path = m_folder.filePath("t.csv");
    exported(out,
             {{"id", FieldKind::Number},
              {"v", FieldKind::Text},
              {"b", FieldKind::Binary},
              {"bits", FieldKind::Binary},
              {"m", FieldKind::Number},
              {"d", FieldKind::Text},
              {"s", FieldKind::Text}},
             {{"0", "日本\\ 'x'\n", "0x00FF", "0x0101", "-1.50", "2026-01-02 03:04:05", "0x41"},
              {"2", std::nullopt, "", std::nullopt, std::nullopt, std::nullopt, "ソ"},
              {"3", "", std::nullopt, std::nullopt, "0", std::nullopt, std::nullopt}});
    ImportOptions in;
    in.path = out.path;
    in.format = guessedFormat(readFile(out.path));
    in.database = "c";
    in.table = "t";
    in.columns = {{"id", 0}, {"v", 1}, {"b", 2}, {"bits", 3}, {"m", 4}, {"d", 5}, {"s", 6}};
    QCOMPARE(import(in).rows, 3);
    QCOMPARE(server.run("SELECT id, HEX(v), HEX(b), bits+0, m, d, s FROM c.t ORDER BY id"),
             "0\tE697A5E69CAC5C202778270A\t00FF\t257\t-1.50\t2026-01-02 03:04:05\t0x41\n"
             "2\tNULL\t\tNULL\tNULL\tNULL\tソ\n3\t\tNULL\tNULL\t0.00\tNULL\tNULL\n");
    in.table = "made";
    in.createsTable = true;
    QCOMPARE(import(in).rows, 3);
    // An empty line may have been a row.
    ImportOptions one = in;
    one.path = m_folder.filePath("one.csv");
    writeFile(one.path, "v\n+81\n\n\n12\n");
    one.table = "one";
    one.columns = {{"v", 0}};
    QVERIFY(reportOf(import(one)).text.startsWith("2 行を取り込みました。\n空の行 2 行は読み飛ばしました。"));
    QCOMPARE(server.run("SELECT v FROM c.one ORDER BY 1"), "+81\n12\n");
    QCOMPARE(server.run("SELECT COLUMN_TYPE FROM information_schema.COLUMNS WHERE TABLE_SCHEMA='c' AND "
                        "TABLE_NAME='made' ORDER BY ORDINAL_POSITION"),
             "int(11)\nvarchar(8)\nvarchar(6)\nvarchar(6)\ndecimal(3,2)\ndatetime(6)\nvarchar(4)\n");
}

void CsvTest::floatsKeepTheirDigits_data()
{
    TestServers::addConnectionRows();
}

void CsvTest::floatsKeepTheirDigits()
{
    QFETCH(TestServer::Brand, brand);
    QFETCH(bool, isBuiltIn);
    SKIP_WITHOUT(brand);
    TestServer &server = m_servers.of(brand);
    server.run(
        "DROP DATABASE IF EXISTS c; CREATE DATABASE c; USE c; CREATE TABLE t(id INT PRIMARY KEY, `a``f` "
        "FLOAT UNSIGNED, g FLOAT(7,2), d DOUBLE, s VARCHAR(9)); CREATE TABLE back LIKE t; INSERT INTO t "
        "VALUES(1,16777217,99999.99,0.1,'x'),(2,1.401298464324817e-45,0.1,1,'0.10'),"
        "(3,3.4028234663852886e38,0,5e-324,''),(4,0.1,1,1.7976931348623157e308,''),(5,NULL,NULL,NULL,'')");
    BlockingPump pump;
    Session session;
    session.connectBy(createConnection, pump);
    session.gCn = session.makeConnection(server.connectionString(isBuiltIn, "c"));
    session.gCn->open();
    ExportOptions out;
    out.path = m_folder.filePath("floats.csv");
    out.encoding = TextEncoding::Utf8;
    out.hasCrLf = false;
    exportStatement(session, "/* all */ SELECT * FROM c.t WHERE `a``f` >= 0 ORDER BY 1", out, noReport);
    const QByteArray rows = readFile(out.path);
    QVERIFY2(rows.startsWith("id,a`f,g,d,s\n1,16777216,99999.99,0.1,x\n2,1e-45,0.10,1,0.10\n"), rows);
    ImportOptions in;
    in.path = out.path;
    in.database = "c";
    in.table = "back";
    in.columns = {{"id", 0}, {"a`f", 1}, {"g", 2}, {"d", 3}, {"s", 4}};
    in.format = guessedFormat(rows);
    QCOMPARE(importCsv(session, in, noReport).rows, 4);
    const QString reading = "SELECT id, `a``f`*1e0, g*1e0, d, s FROM c.%1 WHERE id < 5 ORDER BY id";
    QCOMPARE(server.run(reading.arg("back")), server.run(reading.arg("t")));
    if (brand != TestServer::Brand::MySql56) {
        server.run("ALTER TABLE c.t ADD hidden INT INVISIBLE DEFAULT 7");
        const TransferReport some = exportStatement(session, "SELECT * FROM c.t", out, noReport);
        QVERIFY(some.isToBeRead && some.text.endsWith("いません: hidden"));
        const TransferReport all = exportStatement(session, "SELECT id, hidden FROM c.t", out, noReport);
        QVERIFY(!all.isToBeRead && all.text.endsWith("書き出しました。"));
    }
    // Columns that are named, and what is no mere reading of one table's columns.
    for (const auto &[select, line] :
         {std::pair("select t.`a``f`, id from t where id=1 limit 1", "a`f,id\n16777216,1\n"),
          {"select `A``F` as x from t where id=1", "x\n16777200\n"}}) {
        exportStatement(session, select, out, noReport);
        QCOMPARE(readFile(out.path), line);
    }
}

void CsvTest::rowsThatDoNotFitAreTold_data()
{
    QTest::addColumn<Duplicates>("duplicates");
    QTest::addColumn<bool>("keepsGoodRows");
    QTest::addColumn<int>("errors");
    QTest::addColumn<QString>("after");
    row("all taken back", Duplicates::Stop, false, 4, QString("1:old"));
    row("good ones kept", Duplicates::Stop, true, 4, QString("1:old,2:b,6:f"));
    row("duplicates skipped", Duplicates::Skip, true, 3, QString("1:old,2:b,6:f"));
    row("duplicates replace", Duplicates::Replace, true, 3, QString("1:a,2:b,6:f"));
}

void CsvTest::rowsThatDoNotFitAreTold()
{
    QFETCH(Duplicates, duplicates);
    QFETCH(bool, keepsGoodRows);
    QFETCH(int, errors);
    QFETCH(QString, after);
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    server.run("DROP DATABASE IF EXISTS c; CREATE DATABASE c; USE c;"
               "CREATE TABLE t(id INT PRIMARY KEY, v VARCHAR(5)); INSERT INTO t VALUES(1,'old')");
    ImportOptions options;
    options.path = m_folder.filePath("bad.csv");
    server.run("ALTER TABLE c.t ADD n DECIMAL(4,1)");
    writeFile(options.path, "id,v,n\n1,a,\n2,b,0.25\nx,c,\n4,toolong,\n5\n6,f,1\n");
    options.database = "c";
    options.table = "t";
    options.columns = {{"id", 0}, {"v", 1}, {"n", 2}};
    options.duplicates = duplicates;
    options.keepsGoodRows = keepsGoodRows;
    const ImportReport report = import(options);
    QCOMPARE(report.errors, errors);
    QCOMPARE(report.isTakenBack, !keepsGoodRows);
    QCOMPARE(report.changed, keepsGoodRows ? 1 : 0); // rounded
    QCOMPARE(server.run("SELECT GROUP_CONCAT(id, ':', v ORDER BY id) FROM c.t").trimmed(), after);
    const QString told = QString::fromUtf8(readFile(report.errorFile));
    QVERIFY2(told.contains("\r\n4,") || told.contains(QChar(0xfeff) + QString("4,")), qPrintable(told));
    QVERIFY2(told.contains("5,\"Data too long") && told.contains("6,\"値の数が違います"), qPrintable(told));
}

void CsvTest::aFileThatHasOtherColumnsIsRefused_data()
{
    const Rows<QByteArray, bool> row;
    row("in another order", "v,id\n2,1\n", true);
    row("fewer", "id\n1\n", true);
    row("more, without a header", "1,2,3\n", false);
    row("fewer, without a header", "1\n", false);
}

// Another program has written it since its columns, "id" and "v", were shown.
void CsvTest::aFileThatHasOtherColumnsIsRefused()
{
    const auto [bytes, hasHeader] = fetched<QByteArray, bool>();
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    server.run("DROP DATABASE IF EXISTS c; CREATE DATABASE c; CREATE TABLE c.t(id INT, v INT)");
    ImportOptions options;
    options.path = m_folder.filePath("other.csv");
    writeFile(options.path, bytes);
    options.format.hasHeader = hasHeader;
    options.database = "c";
    options.table = "t";
    options.columns = {{"id", 0}, {"v", 1}};
    options.fileColumns = QStringList{"id", "v"};
    QString words;
    try {
        words = reportOf(import(options)).text;
    } catch (const Failure &error) {
        words = error.description();
    }
    QVERIFY2(words.contains("変わっています"), qPrintable(words));
    QCOMPARE(server.run("SELECT COUNT(*) FROM c.t"), "0\n");
}

void CsvTest::anAccountMayDoLittle_data()
{
    // What it may do, whether into a table that is made for it, how, what is said, and the rows that are
    // there.
    const Rows<TestServer::Brand, QString, bool, Duplicates, bool, QString, QString> row;
    using enum TestServer::Brand;
    using enum Duplicates;
    const QString all = "3000 行を取り込みました。\nサーバーが値を丸めた行: 2000 行";
    row("insert, MySQL 9", MySql9, "INSERT", false, Stop, false, all, "3000");
    row("insert, MariaDB", MariaDb, "INSERT", false, Stop, false, all, "3000");
    row("insert by LOAD DATA", MySql9, "INSERT", false, Stop, true, "3000 行を取り込み", "3000");
    row("no update", MySql9, "INSERT, SELECT", false, Skip, false,
        "2 行目: UPDATE command denied|何も確定していません", "0");
    row("one column, MariaDB", MariaDb, "INSERT(n), SELECT", false, Stop, false,
        "2 行目: INSERT command denied|何も確定していません", "0");
    row("no insert, LOAD DATA", MySql9, "SELECT", false, Stop, true,
        "INSERT command denied|何も確定していません", "0");
    row("no create", MySql9, "SELECT, INSERT", true, Stop, false, "CREATE command denied|何も確定", "");
    row("no drop", MySql9, "INSERT, CREATE", true, Stop, false,
        "入らない行があるため、すべて取り消しました。|入らなかった行: |「made」は空のまま残っています", "0");
}

void CsvTest::anAccountMayDoLittle()
{
    const auto [brand, rights, makes, duplicates, isLocal, words, rows] =
        fetched<TestServer::Brand, QString, bool, Duplicates, bool, QString, QString>();
    SKIP_WITHOUT(brand);
    TestServer &server = m_servers.of(brand);
    const bool isOfColumn = rights.contains('(');
    server.run(
        QString("SET GLOBAL local_infile=1; DROP DATABASE IF EXISTS c; CREATE DATABASE c; CREATE TABLE "
                "c.t(id INT PRIMARY KEY, n DECIMAL(4,1)); DROP USER IF EXISTS little@'%'; CREATE USER "
                "little@'%' IDENTIFIED BY 'demo'; GRANT %1 ON c.%2 TO little@'%'")
            .arg(rights, isOfColumn ? "t" : "*"));
    LocalStage stage(server);
    stage.session.gUser = "little";
    stage.session.gCn = stage.session.makeConnection(connectionStringOf(stage.session));
    stage.session.gCn->open();
    ImportOptions options;
    options.path = m_folder.filePath("little.csv");
    QByteArray lines = "id,n\n";
    for (int i = 0; i < 3000; ++i)
        lines += QByteArray::number(i) + (i < 1000 || isLocal ? ",1\n" : ",1.25\n");
    writeFile(options.path, makes ? lines + "short\n" : lines);
    options.database = "c";
    options.table = makes ? "made" : "t";
    options.createsTable = makes;
    options.columns = {{"id", 0}, {"n", 1}};
    options.duplicates = duplicates;
    options.isLocal = isLocal;
    QString told;
    try {
        told = reportOf(importCsv(stage.session, options, noReport)).text;
    } catch (const Failure &error) {
        told = error.description();
    }
    for (const QString &part : words.split('|'))
        QVERIFY2(told.contains(part), qPrintable(told));
    stage.session.gCn.reset(); // it may still hold locks
    if (!rows.isEmpty())
        QCOMPARE(server.run("SELECT COUNT(*) FROM c." + options.table).trimmed(), rows);
}

void CsvTest::rowsGoByLoadDataLocal_data()
{
    const Rows<TestServer::Brand, QByteArray, Duplicates, int, QString> row;
    using enum TestServer::Brand;
    const QByteArray good = "2,\"a\tb\\ \n'\"\"\"\n3,\n4,\"\"\n";
    const QString old = "1:6F6C64", all = old + ",2:6109625C200A2722,3:-,4:";
    row("good ones, MariaDB", MariaDb, good, Duplicates::Stop, 0, all);
    row("good ones, MySQL 9", MySql9, good, Duplicates::Stop, 0, all);
    row("good ones, MySQL 5.6", MySql56, good, Duplicates::Stop, 0, all);
    row("a value that does not fit", MariaDb, "2,a\n3,far too long for it\n", Duplicates::Stop, 1, old);
    row("a duplicate", MariaDb, "1,a\n2,b\n", Duplicates::Stop, 1, old);
    row("a duplicate skipped", MariaDb, "1,a\n2,b\n", Duplicates::Skip, 0, old + ",2:62");
    row("one skipped, one that does not fit", MariaDb, "1,a\nx,b\n", Duplicates::Skip, 1, old);
}

void CsvTest::rowsGoByLoadDataLocal()
{
    const auto [brand, lines, duplicates, errors, after] =
        fetched<TestServer::Brand, QByteArray, Duplicates, int, QString>();
    SKIP_WITHOUT(brand);
    TestServer &server = m_servers.of(brand);
    server.run(
        "SET GLOBAL local_infile=1; DROP DATABASE IF EXISTS c; CREATE DATABASE c CHARACTER SET utf8mb4; "
        "USE c; CREATE TABLE t(id INT PRIMARY KEY, v VARCHAR(9)); INSERT INTO t VALUES(1,'old')");
    LocalStage stage(server);
    ImportOptions options;
    options.path = m_folder.filePath("local.csv");
    writeFile(options.path, "id,v\n" + lines);
    options.database = "c";
    options.table = "t";
    options.columns = {{"id", 0}, {"v", 1}};
    options.duplicates = duplicates;
    options.isLocal = true;
    const ImportReport report = importCsv(stage.session, options, noReport);
    QCOMPARE(report.errors, errors);
    QCOMPARE(server.run("SELECT GROUP_CONCAT(id, ':', IFNULL(HEX(v), '-') ORDER BY id) FROM c.t").trimmed(),
             after);
    if (errors == 1 && duplicates == Duplicates::Stop && lines.startsWith("2"))
        QVERIFY(readFile(report.errorFile).contains("3,\"Data t"));
}

void CsvTest::whatEndsALocalLoadIsTold_data()
{
    const Rows<TestServer::Brand, QString, QString> row;
    using enum TestServer::Brand;
    row("MariaDB, connection killed", MariaDb, "KILL %1", "");
    row("MariaDB, query killed", MariaDb, "KILL QUERY %1", "interrupted");
    row("MySQL 9, connection killed", MySql9, "KILL %1", "");
    row("MySQL 9, query killed", MySql9, "KILL QUERY %1", "interrupted");
    row("MySQL 5.6, connection killed", MySql56, "KILL %1", "");
    row("MySQL 5.6, query killed", MySql56, "KILL QUERY %1", "interrupted");
    row("stopped", MariaDb, "stop", "中断");
}

void CsvTest::whatEndsALocalLoadIsTold()
{
    const auto [brand, meanwhile, words] = fetched<TestServer::Brand, QString, QString>();
    SKIP_WITHOUT(brand);
    TestServer &server = m_servers.of(brand);
    server.run("SET GLOBAL local_infile=1; DROP DATABASE IF EXISTS c; CREATE DATABASE c; "
               "CREATE TABLE c.t(id INT PRIMARY KEY, v VARCHAR(200))");
    LocalStage stage(server);
    ImportOptions options;
    options.path = m_folder.filePath("long.csv");
    QByteArray lines = "id,v\n";
    for (int i = 0; i < 400'000; ++i)
        lines += QByteArray::number(i) + ',' + QByteArray(100, 'x') + '\n';
    writeFile(options.path, lines);
    options.database = "c";
    options.table = "t";
    options.columns = {{"id", 0}, {"v", 1}};
    options.isLocal = true;
    QString told;
    try {
        importCsv(stage.session, options, [&](const TransferStatus &status) {
            if (status.rows != 256 * 400)
                return;
            if (meanwhile == u"stop")
                throw interruptedError("中断");
            server.run(meanwhile.arg(
                server.run("SELECT ID FROM information_schema.PROCESSLIST WHERE INFO LIKE 'LOAD%'")
                    .trimmed()));
        });
    } catch (const Failure &error) {
        told = error.description();
    }
    QVERIFY2(told.contains(words) && told.contains("何も確定していません"), qPrintable(told));
    stage.session.gCn.reset();
    QTRY_COMPARE_WITH_TIMEOUT(server.run("SELECT COUNT(*) FROM c.t").trimmed(), "0", 20000);
}

void CsvTest::aBreakSaysWhatIsIn_data()
{
    // After which statement of the import the connection breaks, whether the server heard of it, what is
    // said, and the rows that are there.
    const Rows<int, CuttingProxy::Cut, int, QString, QString> row;
    using enum CuttingProxy::Cut;
    row("within the rows", 6, Request, 0, "何も確定していません", "0");
    row("before the commit", 7, Request, 0, "3 行目までが入ったかどうかは", "0");
    row("behind the commit", 7, Answer, 0, "3 行目までが入ったかどうかは", "2");
    row("with nothing left to commit", 9, Request, 1, "3 行目までは確定しています", "2");
}

void CsvTest::aBreakSaysWhatIsIn()
{
    const auto [statement, cut, rowsPerCommit, said, rows] =
        fetched<int, CuttingProxy::Cut, int, QString, QString>();
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    server.run("DROP DATABASE IF EXISTS c; CREATE DATABASE c; CREATE TABLE c.t(id INT PRIMARY KEY)");
    CuttingProxy proxy(server.port());
    BlockingPump pump;
    Session session;
    session.connectBy(createConnection, pump);
    session.gCn = session.makeConnection(
        server.nativeString().replace(QString::number(server.port()), QString::number(proxy.port())));
    session.gCn->open();
    ImportOptions options;
    options.path = m_folder.filePath("cut.csv");
    writeFile(options.path, "id\n1\n2\n");
    options.database = "c";
    options.table = "t";
    options.columns = {{"id", 0}};
    options.keepsGoodRows = rowsPerCommit > 0;
    options.rowsPerCommit = rowsPerCommit;
    proxy.cutAt(statement, cut, true);
    QString told;
    try {
        importCsv(session, options, noReport);
    } catch (const Failure &error) {
        told = error.description();
        QCOMPARE(dynamic_cast<const HalfDone *>(&error) == nullptr, said.startsWith("何も"));
    }
    QVERIFY2(told.contains(said), qPrintable(told));
    QTRY_COMPARE(server.run("SELECT COUNT(*) FROM c.t").trimmed(), rows);
}

void CsvTest::aScriptIsLookedAtFirst()
{
    const QString path = m_folder.filePath("dump.sql");
    writeFile(path,
              "/*M!999999\\- enable the sandbox mode */ \n-- MariaDB dump 10.19  Distrib 10.11.6-MariaDB\n"
              "-- Server version\t10.11.6-MariaDB\n/*!40101 SET NAMES utf8mb4 */;\nUSE `shop`;\n"
              "DROP TABLE IF EXISTS `a`;\n/*!50001 DROP VIEW IF EXISTS `v`*/;\n"
              "CREATE TABLE `a` (c TEXT COLLATE utf8mb4_0900_ai_ci COMMENT 'utf8mb4_0900_bin');\n"
              "INSERT INTO `a` VALUES ('DROP TABLE x; utf8mb4_0900_as_cs');\n");
    const ScriptLook look = lookAtScript(path, [](qint64, qint64) {});
    QCOMPARE(look.writer, "MariaDB dump 10.19  Distrib 10.11.6-MariaDB");
    QCOMPARE(look.sourceServer, "10.11.6-MariaDB");
    QCOMPARE(look.dropped, (QStringList{"TABLE `a`", "VIEW `v`"}));
    QCOMPARE(look.databases, QStringList{"`shop`"});
    QVERIFY(look.isSandboxed && !look.isComplete);
    std::string statement = "CREATE TABLE a (c TEXT COLLATE utf8mb4_0900_ai_ci COMMENT 'utf8mb4_0900_bin')";
    QVERIFY(!replaceCollations(statement, {.version = {}, .isMariaDb = false, .number = 90000}));
    QVERIFY(replaceCollations(statement, {.version = {}, .isMariaDb = true, .number = 101100}));
    QCOMPARE(statement, "CREATE TABLE a (c TEXT COLLATE utf8mb4_unicode_ci COMMENT 'utf8mb4_0900_bin')");
    QVERIFY(!look.setsGtids);
    QVERIFY(isOfGtids("SET @@GLOBAL.GTID_PURGED=/*!80000 '+'*/ '';") &&
            isOfGtids("SET @@SESSION.SQL_LOG_BIN= 0"));
    QVERIFY(!isOfGtids("SET @MYSQLDUMP_TEMP_LOG_BIN = @@SESSION.SQL_LOG_BIN"));
    // Quotes are read as the script sets the mode.
    writeFile(path,
              "SET @old=@@sql_mode, sql_mode='ANSI_QUOTES,NO_BACKSLASH_ESCAPES';\nSELECT '\\', \"'\";\n"
              "SET @TARNWELL_MODE='x'; /*!50003 SET sql_mode = @old */;\nSELECT '\\'', \"\\\"\";\n",
              QIODevice::Append);
    // The one is no UTF-8 far behind its beginning, the other but for a value.
    const QByteArray blanks(600'000, ' ');
    for (const auto &[text, isCp932] :
         {std::pair(QByteArray("'\x95\x5c'"), true), {"'表示' '\x89PNG'", false}}) {
        writeFile(m_folder.filePath("late.sql"), "SELECT " + blanks + text);
        const ScriptLook late = lookAtScript(m_folder.filePath("late.sql"), [](qint64, qint64) {});
        QCOMPARE(late.isTextOfCp932, isCp932);
        QVERIFY(late.isComplete);
    }
    writeFile(path, "-- Dump completed on 2026-01-01\n", QIODevice::Append);
    QVERIFY(lookAtScript(path, [](qint64, qint64) {}).isComplete);
}

QTEST_GUILESS_MAIN(CsvTest)
#include "test_csv.moc"
