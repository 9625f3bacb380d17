#include "controls/grid/cellviewer.h"
#include "controls/grid/gridcopy.h"

#include <QTest>

class TestGridCopy : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyValueSurvives();
    void wholeTexts();
    void bytesAreShownInShortWholeLines();
};

void TestGridCopy::everyValueSurvives()
{
    using enum CopyFormat;
    constexpr auto text = FieldKind::Text, number = FieldKind::Number, binary = FieldKind::Binary;
    const auto check = [](const char *name, CopyFormat format, FieldKind kind, const QByteArray &value,
                          const char *expected) {
        const std::string copy = copiedValue(format, Cell{value.toStdString()}, kind);
        QVERIFY2(copy == expected, name);
    };
    check("tab: tab inside", TabSeparated, text, "a\tb", "\"a\tb\"");
    check("tab: line break and quote", TabSeparated, text, "a\"\nb", "\"a\"\"\nb\"");
    check("tab: quote at the start", TabSeparated, text, "\"x", "\"\"\"x\"");
    check("csv: comma", Csv, text, "a,b", "\"a,b\"");
    check("csv: empty is not NULL", Csv, text, "", "\"\"");
    check("markdown: pipe and break", Markdown, text, "a|b\r\nc", "a\\|b<br>c");
    check("markdown: markup stays text", Markdown, text, "<b>\\", "\\<b>\\\\");
    check("json: control characters", Json, text, QByteArray("a\"\\\n\t\x01\0b", 8),
          "\"a\\\"\\\\\\n\\t\\u0001\\u0000b\"");
    check("json: number", Json, number, "-0.5e+20", "-0.5e+20");
    check("json: zeros in front are no number", Json, number, "007", "\"007\"");
    check("insert: quote and backslash", Insert, text, "it's \\n", "'it''s \\\\n'");
    check("insert: zero byte and line breaks", Insert, text, QByteArray("\0\r\n\x1a", 4), "'\\0\\r\\n\\Z'");
    check("insert: no number", Insert, number, "1 or 1", "'1 or 1'");
    check("insert: hex literal", Insert, binary, "0x00fF", "0x00fF");
    check("insert: binary with an odd digit", Insert, binary, "0x123", "'0x123'");
    check("insert: text that looks like hex", Insert, text, "0x41", "'0x41'");
}

void TestGridCopy::wholeTexts()
{
    using enum CopyFormat;
    const std::vector<Field> fields{{"id", FieldKind::Number}, {"na|me"}};
    const Cell first[] = {{"1"}, {{}, true}}, second[] = {{"2"}, {""}};
    const auto check = [&](CopyFormat format, const char *expected, const char *ofNoRows) {
        GridCopy copy(format, fields, "ta`ble"), empty(format, fields, "ta`ble");
        copy.addRow(first);
        copy.addRow(second);
        QCOMPARE(std::move(copy).finish(), std::string(expected));
        QCOMPARE(std::move(empty).finish(), std::string(ofNoRows));
    };
    check(TabSeparated, "1\tNULL\n2\t", "");
    check(TabSeparatedWithHeader, "id\tna|me\n1\tNULL\n2\t\n", "id\tna|me\n");
    check(Csv, "id,na|me\n1,\n2,\"\"\n", "id,na|me\n");
    check(Markdown, "| id | na\\|me |\n| ---: | --- |\n| 1 | NULL |\n| 2 |  |\n",
          "| id | na\\|me |\n| ---: | --- |\n");
    check(Json, "[\n  {\"id\": 1, \"na|me\": null},\n  {\"id\": 2, \"na|me\": \"\"}\n]\n", "[]\n");
    check(Insert,
          "INSERT INTO `ta``ble` (`id`, `na|me`) VALUES (1, NULL);\n"
          "INSERT INTO `ta``ble` (`id`, `na|me`) VALUES (2, '');\n",
          "");
}

void TestGridCopy::bytesAreShownInShortWholeLines()
{
    QCOMPARE(hexDump(bytesOfLiteral("0x414200fF")),
             "00000000 41 42 00 ff" + std::string(1 + 3 * 12, ' ') + "  AB..\n");
    QCOMPARE(bytesOfLiteral("0x4"), std::string("0x4"));
    QCOMPARE(withShortLines("あいう\nえ", 2), std::string("あい\nう\nえ"));
    QCOMPARE(hexDump(std::string(17, 'x')).substr(76, 11), std::string("00000010 78"));
}

QTEST_GUILESS_MAIN(TestGridCopy)
#include "test_gridcopy.moc"
