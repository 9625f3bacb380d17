#include "controls/gridcopy.h"
#include "controls/hexdump.h"

#include <QTest>

Q_DECLARE_METATYPE(CopyFormat)

namespace {

const Cell nullCell{{}, true};

QByteArray copied(CopyFormat format, const std::vector<Field> &fields,
                  const std::vector<std::vector<Cell>> &rows)
{
    GridCopy copy(format, fields, QStringLiteral("ta`ble"));
    for (const auto &row : rows)
        copy.addRow(row);
    return QByteArray::fromStdString(std::move(copy).finish());
}

} // namespace

class TestGridCopy : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyValueSurvives_data();
    void everyValueSurvives();
    void wholeTexts_data();
    void wholeTexts();
    void noRowsAreStillWellFormed();
    void hexDumpShowsEveryByte();
    void longLinesAreBrokenBetweenCharacters();
};

void TestGridCopy::everyValueSurvives_data()
{
    QTest::addColumn<CopyFormat>("format");
    QTest::addColumn<FieldKind>("kind");
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<QByteArray>("expected");
    using enum CopyFormat;
    constexpr auto text = FieldKind::Text, number = FieldKind::Number, binary = FieldKind::Binary;
    const auto row = [](const char *name, CopyFormat format, FieldKind kind, QByteArray value,
                        QByteArray expected) { QTest::newRow(name) << format << kind << value << expected; };
    row("tab: plain", TabSeparated, text, "日本語 a", "日本語 a");
    row("tab: tab inside", TabSeparated, text, "a\tb", "\"a\tb\"");
    row("tab: line break and quote", TabSeparated, text, "a\"\nb", "\"a\"\"\nb\"");
    row("tab: quote in the middle", TabSeparated, text, "5\" disk", "5\" disk");
    row("tab: quote at the start", TabSeparated, text, "\"x", "\"\"\"x\"");
    row("csv: comma", Csv, text, "a,b", "\"a,b\"");
    row("csv: quote", Csv, text, "a\"b", "\"a\"\"b\"");
    row("csv: empty is not NULL", Csv, text, "", "\"\"");
    row("csv: number", Csv, number, "-1.5", "-1.5");
    row("markdown: pipe and break", Markdown, text, "a|b\r\nc", "a\\|b<br>c");
    row("markdown: markup stays text", Markdown, text, "<b>\\", "\\<b>\\\\");
    row("json: control characters", Json, text, QByteArray("a\"\\\n\t\x01\0b", 8),
        "\"a\\\"\\\\\\n\\t\\u0001\\u0000b\"");
    row("json: number", Json, number, "-0.5e+20", "-0.5e+20");
    row("json: zeros in front are no number", Json, number, "007", "\"007\"");
    row("json: digits of a text", Json, text, "12", "\"12\"");
    row("json: not a number at all", Json, number, "1.", "\"1.\"");
    row("insert: quote and backslash", Insert, text, "it's \\n", "'it''s \\\\n'");
    row("insert: zero byte and line breaks", Insert, text, QByteArray("\0\r\n\x1a", 4), "'\\0\\r\\n\\Z'");
    row("insert: number", Insert, number, "0042.50", "0042.50");
    row("insert: no number", Insert, number, "1 or 1", "'1 or 1'");
    row("insert: hex literal", Insert, binary, "0x00fF", "0x00fF");
    row("insert: binary shown as text", Insert, binary, "0xyz", "'0xyz'");
    row("insert: binary with an odd digit", Insert, binary, "0x123", "'0x123'");
    row("insert: text that looks like hex", Insert, text, "0x41", "'0x41'");
}

void TestGridCopy::everyValueSurvives()
{
    QFETCH(CopyFormat, format);
    QFETCH(FieldKind, kind);
    QFETCH(QByteArray, value);
    QFETCH(QByteArray, expected);
    const std::string bytes = value.toStdString();
    QCOMPARE(QByteArray::fromStdString(copiedValue(format, Cell{bytes}, kind)), expected);
}

void TestGridCopy::wholeTexts_data()
{
    QTest::addColumn<CopyFormat>("format");
    QTest::addColumn<QByteArray>("expected");
    using enum CopyFormat;
    QTest::newRow("tab") << TabSeparated << QByteArray("1\tNULL\n2\t");
    QTest::newRow("tab with header") << TabSeparatedWithHeader << QByteArray("id\tna|me\n1\tNULL\n2\t\n");
    QTest::newRow("csv") << Csv << QByteArray("id,na|me\n1,\n2,\"\"\n");
    QTest::newRow("markdown") << Markdown
                              << QByteArray("| id | na\\|me |\n| ---: | --- |\n| 1 | NULL |\n| 2 |  |\n");
    QTest::newRow("json") << Json
                          << QByteArray(
                                 "[\n  {\"id\": 1, \"na|me\": null},\n  {\"id\": 2, \"na|me\": \"\"}\n]\n");
    QTest::newRow("insert") << Insert
                            << QByteArray("INSERT INTO `ta``ble` (`id`, `na|me`) VALUES (1, NULL);\n"
                                          "INSERT INTO `ta``ble` (`id`, `na|me`) VALUES (2, '');\n");
}

void TestGridCopy::wholeTexts()
{
    QFETCH(CopyFormat, format);
    QFETCH(QByteArray, expected);
    const std::vector<Field> fields{{QStringLiteral("id"), FieldKind::Number}, {QStringLiteral("na|me")}};
    QCOMPARE(copied(format, fields, {{Cell{"1"}, nullCell}, {Cell{"2"}, Cell{""}}}), expected);
}

void TestGridCopy::noRowsAreStillWellFormed()
{
    const std::vector<Field> fields{{QStringLiteral("a")}};
    QCOMPARE(copied(CopyFormat::Json, fields, {}), QByteArray("[]\n"));
    QCOMPARE(copied(CopyFormat::Csv, fields, {}), QByteArray("a\n"));
    QCOMPARE(copied(CopyFormat::TabSeparated, fields, {}), QByteArray());
}

void TestGridCopy::hexDumpShowsEveryByte()
{
    QCOMPARE(hexDump(bytesOfLiteral("0x414200fF")),
             "00000000 41 42 00 ff" + std::string(1 + 3 * 12, ' ') + "  AB..\n");
    QCOMPARE(bytesOfLiteral("0x4"), std::string("0x4"));
    QCOMPARE(hexDump(std::string(17, 'x')).substr(76, 11), std::string("00000010 78"));
}

void TestGridCopy::longLinesAreBrokenBetweenCharacters()
{
    QCOMPARE(withShortLines("あいう\nえ", 2), std::string("あい\nう\nえ"));
    QCOMPARE(withShortLines("abcd", 2), std::string("ab\ncd"));
}

QTEST_GUILESS_MAIN(TestGridCopy)
#include "test_gridcopy.moc"
