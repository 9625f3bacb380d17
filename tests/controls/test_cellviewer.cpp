#include "controls/grid/cellviewer.h"
#include "controls/grid/flexgrid.h"
#include "controls/grid/valuetextbox.h"
#include "support/gui/boxes.h"
#include "support/gui/control.h"

#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>
#include <QTreeWidget>

// One cell's whole value.
class CellViewerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void cellViewerShowsTextBytesAndPicture();
    void brokenLinesAreCopiedAndSearchedWhole();
    void jsonIsLaidOutAsItIsWritten();
    void aLargeValueIsShownAsFarAsItSays();
    void bytesAreReadInAChosenCharacterSet();
    void bytesAreShownInShortWholeLines();
};

void CellViewerTest::cellViewerShowsTextBytesAndPicture()
{
    FlexGrid grid;
    grid.setFields({{"photo", FieldKind::Binary}, {"memo"}});
    QImage image(3, 2, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    const std::string photo = "0x" + png.toHex().toStdString(), memo(20000, 'm');
    const Cell cells[] = {{photo}, {memo}};
    grid.appendRow(cells);
    grid.setCurrentIndex(grid.model()->index(0, 0));
    QTest::keyClick(&grid, Qt::Key_Return);
    auto *viewer = grid.findChild<CellViewer *>(QStringLiteral("cellViewer"));
    QVERIFY(viewer && viewer->isVisible() && !viewer->isModal());
    auto *tabs = viewer->findChild<QTabWidget *>();
    QCOMPARE(tabs->currentIndex(), 2);
    QCOMPARE(viewer->findChild<QLabel *>("cellPicture")->pixmap().size(), QSize(3, 2));
    // A second cell reuses the window.
    grid.openCell(grid.model()->index(0, 1));
    QCOMPARE(grid.findChildren<CellViewer *>().size(), 1);
    QVERIFY(!tabs->isTabEnabled(2));
    QTest::mouseClick(viewer->findChild<QPushButton *>("cellCopy"), Qt::LeftButton);
    QCOMPARE(QApplication::clipboard()->text(), QString::fromStdString(memo));
    QTest::keyClick(viewer, Qt::Key_Escape);
    QTRY_VERIFY(!grid.findChild<CellViewer *>());
}

// The line ends are only for showing.
void CellViewerTest::brokenLinesAreCopiedAndSearchedWhole()
{
    CellViewer viewer(nullptr);
    viewer.setAttribute(Qt::WA_DeleteOnClose, false);
    auto &text = control<ValueTextBox>(viewer, "cellText");
    std::string value(497, 'a');
    value.append("日本語").append(498, 'b').append("Needle").append(70000, 'c');
    for (const std::string &each : {value.substr(0, 1200), value}) {
        viewer.showValue({"memo"}, {each}, 1);
        QVERIFY(text.isBroken());
        QVERIFY(text.findFirst("needle", false, false, false, true));
        QCOMPARE(text.selectedValue(), "Needle");
        QVERIFY(text.findFirst("A日本語b", false, false, false, true, true, 0, 0));
        text.copy();
        QCOMPARE(QApplication::clipboard()->text(), "a日本語b");
        QVERIFY(text.findFirst("c", false, false, false, true, false, 0, 0));
        text.selectAll();
        QCOMPARE(text.selectedValue(), QString::fromStdString(each));
    }
}

void CellViewerTest::jsonIsLaidOutAsItIsWritten()
{
    const auto laidOut = [](const std::string &text) {
        const auto json = parseJson(text);
        return json ? QString::fromStdString(formattedJson(*json)) : QString();
    };
    const std::string digits = "12345678901234567890";
    QCOMPARE(laidOut(" {\"b\":1.10,\"a\":[" + digits + ",{}],\"b\":\"\\\"}\"} ").remove(u' '),
             "{\n\"b\":1.10,\n\"a\":[\n12345678901234567890,\n{}\n],\n\"b\":\"\\\"}\"\n}");
    for (const char *none : {"{\"a\":}", "[1,]", "[1] 2", "{\"a\"", "[\"\\", "{1:2}", "[nul]"})
        QVERIFY2(laidOut(none).isNull(), none);
    QVERIFY(laidOut(std::string(100000, '[')).isNull());

    CellViewer viewer(nullptr);
    viewer.setAttribute(Qt::WA_DeleteOnClose, false);
    const std::string json = "{\"名前\":[\"\\u3042\",null]}";
    viewer.showValue({"j"}, {json}, 1);
    auto &tree = control<QTreeWidget>(viewer, "cellTree");
    control<QTabWidget>(viewer, "cellTabs").setCurrentIndex(4);
    QTreeWidgetItem *list = tree.topLevelItem(0)->child(0);
    QCOMPARE(list->text(0), "名前");
    list->setExpanded(true);
    QCOMPARE(list->child(0)->text(1), "あ");
    viewer.showValue({"j"}, {"text"}, 1);
    QVERIFY(!tree.isVisibleTo(&viewer) && tree.topLevelItemCount() == 0);
}

// The window goes on while it is read, and says of what it shows no more than that.
void CellViewerTest::aLargeValueIsShownAsFarAsItSays()
{
    CellViewer viewer(nullptr);
    viewer.setAttribute(Qt::WA_DeleteOnClose, false);
    auto &tabs = control<QTabWidget>(viewer, "cellTabs");
    auto &tree = control<QTreeWidget>(viewer, "cellTree");
    const auto &summary = control<QLabel>(viewer, "cellSummary");
    std::string json = "[";
    for (int i = 0; i < 6000; ++i)
        json += '"' + std::string(999, 'x') + "日本語\",";
    const std::string broken = json;
    json.back() = ']';
    const std::string large = json + std::string(ValueTextBox::mostShown - json.size() - 1, ' ') + "日";
    viewer.showValue({"j"}, {json}, 1);
    tabs.setCurrentIndex(3);
    viewer.showValue({"j"}, {broken}, 1); // while the one before is read
    tabs.setCurrentIndex(3);
    QTRY_COMPARE(control<ValueTextBox>(viewer, "cellJson").text(), "JSON として読めません");
    QCOMPARE(tree.topLevelItemCount(), 0);
    viewer.showValue({"j"}, {json}, 1);
    tabs.setCurrentIndex(4);
    QTRY_COMPARE(tree.topLevelItemCount(), 1);
    QCOMPARE(tree.topLevelItem(0)->text(1), "[6,000]");
    QVERIFY2(!summary.text().contains("テキストは"), qPrintable(summary.text()));
    viewer.showValue({"j"}, {large}, 1);
    QVERIFY2(summary.text().contains("テキストは先頭の16 MBのみ"), qPrintable(summary.text()));
    auto &text = control<ValueTextBox>(viewer, "cellText");
    text.selectAll();
    QVERIFY(text.selectedValue().toStdString() == large.substr(0, large.size() - 3)); // no half character
    tabs.setCurrentIndex(4); // and it goes while it is read
}

void CellViewerTest::bytesAreReadInAChosenCharacterSet()
{
    CellViewer viewer(nullptr);
    viewer.setAttribute(Qt::WA_DeleteOnClose, false);
    viewer.showValue({"b", FieldKind::Binary}, {"0x93fa967b"}, 1);
    auto &sets = control<QComboBox>(viewer, "cellCharacterSet");
    for (const auto &[set, text] : {std::pair("windows-31j", "日本"), {"UTF-16BE", "鏺陻"}}) {
        sets.setCurrentIndex(sets.findData(QByteArray(set)));
        Q_EMIT sets.activated(sets.currentIndex());
        QCOMPARE(control<ValueTextBox>(viewer, "cellText").text(), text);
    }
    viewer.showValue({"id", FieldKind::Binary}, {"0x11ec9c6f3a1b2c4d8000001122334455"}, 1);
    QVERIFY(control<QLabel>(viewer, "cellSummary")
                .text()
                .contains("UUID 11ec9c6f-3a1b-2c4d-8000-001122334455 (時刻を入れ替えたものなら "
                          "3a1b2c4d-9c6f-11ec-8000-001122334455)"));
}

void CellViewerTest::bytesAreShownInShortWholeLines()
{
    QCOMPARE(hexDump(bytesOfLiteral("0x414200fF")),
             "00000000 41 42 00 ff" + std::string(1 + 3 * 12, ' ') + "  AB..\n");
    QCOMPARE(bytesOfLiteral("0x4"), std::string("0x4"));
    QCOMPARE(withShortLines("あいう\nえ", 2).text, std::string("あい\nう\nえ"));
    QCOMPARE(hexDump(std::string(17, 'x')).substr(76, 11), std::string("00000010 78"));
}

QTEST_MAIN(CellViewerTest)
#include "test_cellviewer.moc"
