#include "browser/frmTarnwellControls.h"
#include "controls/lists/filterline.h"
#include "controls/window/building.h"
#include "controls/window/narrow.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QScrollArea>
#include <QVBoxLayout>

namespace {

// Lower than a style's own: the window is to fit on 1366 x 768 at 150 %.
constexpr QMargins frameMargins{9, 2, 9, 4};
constexpr int lowSpacing = 3;

QLabel *caption(const char *name, const QString &text, QWidget *buddy)
{
    auto *label = made<QLabel>(name, text);
    label->setBuddy(buddy);
    if (buddy->accessibleName().isEmpty())
        buddy->setAccessibleName(QString(text).remove(u'&').remove(QStringLiteral(" :")));
    return label;
}

QWidget *column(std::initializer_list<QWidget *> widgets, QWidget *stretched)
{
    auto *area = new QWidget;
    auto *layout = new QVBoxLayout(area);
    layout->setContentsMargins({});
    layout->setSpacing(lowSpacing);
    for (QWidget *widget : widgets)
        layout->addWidget(widget, widget == stretched ? 1 : 0);
    return area;
}

QHBoxLayout *row(std::initializer_list<QWidget *> widgets, QWidget *stretched = nullptr)
{
    auto *layout = new QHBoxLayout;
    for (QWidget *widget : widgets)
        layout->addWidget(widget, widget == stretched ? 1 : 0);
    if (!stretched)
        layout->addStretch(1);
    return layout;
}

// A list, and beside it what is shown of the chosen item.
QSplitter *sideBySide(const char *name, QWidget *list, QWidget *detail, const QList<int> &widths)
{
    auto *split = made<QSplitter>(name, Qt::Horizontal);
    split->addWidget(list);
    split->addWidget(detail);
    split->setChildrenCollapsible(false);
    split->setStretchFactor(1, 1);
    split->setSizes(widths);
    return split;
}

FilterLine *filterLine(const char *name, QListWidget &list, const QString &title)
{
    auto *line = made<FilterLine>(name, list);
    line->setAccessibleName(title);
    return line;
}

void layOutConnection(TarnwellControls &c)
{
    auto *all = new QHBoxLayout(c.Frame1);
    all->setContentsMargins(frameMargins);
    auto *layout = new QGridLayout;
    layout->setVerticalSpacing(lowSpacing);
    all->addLayout(layout, 1);
    const auto put = [&](QWidget *label, QWidget *box, int line, int place) {
        layout->addWidget(label, line, place * 2, Qt::AlignRight);
        layout->addWidget(box, line, place * 2 + 1);
    };
    put(caption("Label4", QStringLiteral("DSN :"), c.cboDSNList), c.cboDSNList, 0, 0);
    put(caption("Label9", QStringLiteral("SERVER :"), c.txtServer), c.txtServer, 0, 1);
    put(caption("Label10", QStringLiteral("USER :"), c.txtUser), c.txtUser, 0, 2);
    put(caption("Label5", QStringLiteral("DRIVERS :"), c.cboDrivers), c.cboDrivers, 1, 0);
    put(caption("Label12", QStringLiteral("PORT :"), c.txtPort), c.txtPort, 1, 1);
    put(caption("Label11", QStringLiteral("PASS :"), c.txtPass), c.txtPass, 1, 2);
    layout->addWidget(c.serverRole, 2, 0, 1, 6);
    c.serverRole->hide();
    for (const int stretched : {1, 3, 5})
        layout->setColumnStretch(stretched, 1);
    all->addWidget(c.openConnections, 0, Qt::AlignTop);
    for (const auto &[upper, lower] :
         {std::pair(c.cmdConnect, c.cmdClose), std::pair(c.Command1, c.cmdEnd)}) {
        auto *buttons = new QVBoxLayout;
        buttons->setSpacing(lowSpacing);
        buttons->addWidget(upper);
        buttons->addWidget(lower);
        all->addLayout(buttons);
    }
}

QWidget *databaseColumn(TarnwellControls &c)
{
    FilterLine *filter = filterLine("lstDb_Filter", *c.lstDb, QStringLiteral("データベースの絞り込み"));
    return column({caption("Label1", QStringLiteral("database"), c.lstDb), filter, c.lstDb, c.cmdShowDb,
                   c.cmdCreateDb, c.cmdDropDb, c.cmdCreateUser, c.openServer},
                  c.lstDb);
}

QWidget *tableDetail(TarnwellControls &c)
{
    auto *area = new QWidget;
    auto *layout = new QVBoxLayout(area);
    layout->setContentsMargins({});
    layout->setSpacing(lowSpacing);
    layout->addLayout(row({c.lblEditName, c.lblTableName}));
    letBeNarrow(*c.cmdDataGet);
    auto *choices = row({c.optField[0], c.optField[1], c.optField[2], c.optField[3]});
    choices->setSpacing(lowSpacing);
    choices->addWidget(c.lblRecordCount);
    choices->addWidget(c.cboLimit);
    choices->addWidget(c.cmdDataGet);
    layout->addLayout(choices);
    c.fieldView->addWidget(column({c.Label3, c.flGrid_Field}, c.flGrid_Field));
    c.fieldView->addWidget(column({c.Label8, c.flGrid_Index}, c.flGrid_Index));
    c.fieldView->setChildrenCollapsible(false);
    c.fieldView->setStretchFactor(0, 3);
    c.fieldView->setStretchFactor(1, 1);
    for (QWidget *view :
         std::initializer_list<QWidget *>{c.txtField, c.fieldView, c.flGrid_Status, c.rowsPane})
        layout->addWidget(view, 1);
    layout->addLayout(row({c.cmdCreateTable, c.cmdDropTable}));
    return area;
}

void layOutTablePanel(TarnwellControls &c)
{
    auto *layout = new QVBoxLayout(c.picTable);
    layout->setContentsMargins({});
    FilterLine *filter =
        filterLine("lstTables_Filter", *c.lstTables, QStringLiteral("テーブルとビューの絞り込み"));
    QWidget *tables = column(
        {caption("Label2", QStringLiteral("table && view"), c.lstTables), filter, c.lstTables}, c.lstTables);
    constexpr int tagAndName = 160; // also with the surroundings beside
    tables->setMinimumWidth(tagAndName);
    layout->addWidget(sideBySide("splitTables", tables, tableDetail(c), {220, 560}));
}

void layOutRoutinePanel(TarnwellControls &c)
{
    auto *layout = new QVBoxLayout(c.picProc);
    layout->setContentsMargins({});
    FilterLine *filter =
        filterLine("lstProcFunc_Filter", *c.lstProcFunc, QStringLiteral("ルーチンの絞り込み"));
    auto *editor = new QWidget;
    auto *lines = new QVBoxLayout(editor);
    lines->setContentsMargins({});
    lines->addLayout(row({c.lblEditProcName, c.lblProcName}));
    lines->addWidget(c.txtProc, 1);
    lines->addLayout(row({c.cmdCreateProc, c.cmdDropProc}));
    QWidget *routines = column({caption("Label6", QStringLiteral("ﾌﾟﾛｼｰｼﾞｬ && ﾌｧﾝｸｼｮﾝ"), c.lstProcFunc),
                                caption("Label14", QStringLiteral("procedure && function"), c.lstProcFunc),
                                filter, c.lstProcFunc},
                               c.lstProcFunc);
    layout->addWidget(sideBySide("splitRoutines", routines, editor, {220, 560}));
}

void layOutCommands(TarnwellControls &c)
{
    auto *layout = new QHBoxLayout(c.Frame2);
    layout->setContentsMargins(frameMargins);
    for (QPushButton *command :
         {c.cmdCheckTable, c.cmdRepairTable, c.cmdOptimizeTable, c.cmdBackup, c.cmdRestore, c.cmdCopyDb,
          c.cmdScriptBackUp, c.cmdExec, c.openSheets, c.cmdInOut}) {
        letBeNarrow(*command);
        layout->addWidget(command);
    }
}

QWidget *statusArea(TarnwellControls &c)
{
    auto *area = new QWidget;
    auto *layout = new QGridLayout(area);
    layout->setContentsMargins({});
    layout->setVerticalSpacing(lowSpacing);
    auto *label15 = made<QLabel>("Label15", QStringLiteral("検査・修復・最適化・ｺﾋﾟｰ："));
    layout->addWidget(label15, 0, 0);
    layout->addWidget(c.lblCkTableName, 0, 1);
    layout->addWidget(c.lblCnt, 0, 2);
    layout->addWidget(c.picStatus, 0, 3);
    layout->addWidget(c.timeLeft, 0, 4);
    layout->addWidget(c.Label13, 1, 0, Qt::AlignTop | Qt::AlignRight);
    layout->addWidget(c.txtError, 1, 1, 1, 4);
    layout->addWidget(c.showLog, 0, 5, 2, 1, Qt::AlignBottom);
    layout->setColumnStretch(1, 1);
    layout->setColumnStretch(3, 1);
    return area;
}

} // namespace

void layOut(TarnwellControls &c, QWidget *window)
{
    // Hidden and low before they are laid out: what is not shown at first shall not make the window taller.
    for (QWidget *view : std::initializer_list<QWidget *>{c.txtField, c.flGrid_Status, c.flGrid_Data,
                                                          c.lblRecordCount, c.picProc})
        view->hide();
    for (QWidget *list : std::initializer_list<QWidget *>{c.lstDb, c.lstTables, c.lstProcFunc, c.flGrid_Field,
                                                          c.flGrid_Index, c.flGrid_Status})
        letBeLow(*list);
    constexpr int fewRows = 100; // fewer could not be compared
    c.flGrid_Data->setMinimumHeight(fewRows);
    layOutConnection(c);
    layOutTablePanel(c);
    layOutRoutinePanel(c);
    layOutCommands(c);

    auto *objects = new QWidget;
    auto *lines = new QVBoxLayout(objects);
    lines->setContentsMargins({});
    auto *choices = row({c.optTP[0], c.optTP[1]});
    choices->addWidget(c.encryption);
    lines->addLayout(choices);
    lines->addWidget(c.picTable, 1);
    lines->addWidget(c.picProc, 1);

    auto *withLog = made<QSplitter>("splitLog", Qt::Vertical);
    withLog->addWidget(sideBySide("splitDatabases", databaseColumn(c), objects, {190, 800}));
    withLog->addWidget(c.log);
    withLog->setChildrenCollapsible(false);
    withLog->setStretchFactor(0, 3);
    withLog->setStretchFactor(1, 1);
    withLog->setSizes({480, 200}); // kept for the log until it is opened
    c.log->hide();
    c.showLog->setCheckable(true);

    auto *all = new QVBoxLayout(window);
    all->setContentsMargins(8, 4, 8, 4);
    all->setSpacing(4);
    all->addWidget(c.Frame1);
    // With a strip above and the log open it is too high for 1366 x 768 at 150 %: what tells of errors stays.
    QScrollArea *middle = scrolling(withLog);
    middle->setMinimumHeight(150);
    all->addWidget(middle, 1);
    all->addWidget(c.Frame2);
    all->addWidget(statusArea(c));
}
