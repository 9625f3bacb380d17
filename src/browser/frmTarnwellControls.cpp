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

QPushButton *button(const char *name, const QString &text, const QString &tip)
{
    auto *result = made<QPushButton>(name, text);
    result->setToolTip(tip);
    return result;
}

QLineEdit *password(const char *name)
{
    auto *box = made<QLineEdit>(name);
    box->setEchoMode(QLineEdit::Password);
    return box;
}

FlexGrid *grid(const char *name, const QString &title)
{
    auto *result = made<FlexGrid>(name);
    result->setAccessibleName(title);
    return result;
}

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
    auto *buttons = row({c.cmdCreateTable, c.cmdDropTable});
    layout->addLayout(buttons);
    return area;
}

void layOutTablePanel(TarnwellControls &c)
{
    auto *layout = new QVBoxLayout(c.picTable);
    layout->setContentsMargins({});
    auto *split = made<QSplitter>("splitTables", Qt::Horizontal);
    FilterLine *filter =
        filterLine("lstTables_Filter", *c.lstTables, QStringLiteral("テーブルとビューの絞り込み"));
    QWidget *tables = column(
        {caption("Label2", QStringLiteral("table && view"), c.lstTables), filter, c.lstTables}, c.lstTables);
    constexpr int tagAndName = 160; // also with the surroundings beside
    tables->setMinimumWidth(tagAndName);
    split->addWidget(tables);
    split->addWidget(tableDetail(c));
    split->setChildrenCollapsible(false);
    split->setStretchFactor(1, 1);
    split->setSizes({220, 560});
    layout->addWidget(split);
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
    auto *split = made<QSplitter>("splitRoutines", Qt::Horizontal);
    split->addWidget(column({caption("Label6", QStringLiteral("ﾌﾟﾛｼｰｼﾞｬ && ﾌｧﾝｸｼｮﾝ"), c.lstProcFunc),
                             caption("Label14", QStringLiteral("procedure && function"), c.lstProcFunc),
                             filter, c.lstProcFunc},
                            c.lstProcFunc));
    split->addWidget(editor);
    split->setChildrenCollapsible(false);
    split->setStretchFactor(1, 1);
    split->setSizes({220, 560});
    layout->addWidget(split);
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
    auto *split = made<QSplitter>("splitDatabases", Qt::Horizontal);
    split->addWidget(databaseColumn(c));
    split->addWidget(objects);
    split->setChildrenCollapsible(false);
    split->setStretchFactor(1, 1);
    split->setSizes({190, 800});

    auto *withLog = made<QSplitter>("splitLog", Qt::Vertical);
    withLog->addWidget(split);
    withLog->addWidget(c.log);
    withLog->setChildrenCollapsible(false);
    withLog->setStretchFactor(0, 3);
    withLog->setStretchFactor(1, 1);
    withLog->setSizes({480, 200}); // kept for the c.log until it is opened
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

} // namespace

TarnwellControls::TarnwellControls(QWidget *window, std::shared_ptr<StatementLog> statements)
    : Frame1(made<QGroupBox>("Frame1", QStringLiteral("接続設定")))
    , Frame2(made<QGroupBox>("Frame2", QStringLiteral("ﾃｰﾌﾞﾙｱｸｾｽ")))
    , cboDSNList(made<QComboBox>("cboDSNList"))
    , cboDrivers(made<QComboBox>("cboDrivers"))
    , cboLimit(made<QComboBox>("cboLimit"))
    , txtServer(made<QLineEdit>("txtServer"))
    , txtUser(made<QLineEdit>("txtUser"))
    , txtPass(password("txtPass"))
    , txtPort(made<QLineEdit>("txtPort", QStringLiteral("3306")))
    , serverRole(made<QLabel>("serverRole"))
    , openConnections(button("openConnections", QStringLiteral("接続先..."),
                             QStringLiteral("保存した接続先から選びます (Ctrl+K)")))
    , cmdConnect(button("cmdConnect", QStringLiteral("接続"), QStringLiteral("サーバーに接続します (Alt+C)")))
    , cmdClose(button("cmdClose", QStringLiteral("切断"),
                      QStringLiteral("接続を閉じます。実行中の処理は中断します (Alt+D)")))
    , Command1(
          button("Command1", QStringLiteral("ﾊﾞｰｼﾞｮﾝ情報"), QStringLiteral("このプログラムについて (F1)")))
    , cmdEnd(button("cmdEnd", QStringLiteral("終了"), QStringLiteral("設定を保存して終了します (Ctrl+Q)")))
    , lstDb(made<ChosenList>("lstDb"))
    , lstTables(made<ChosenList>("lstTables"))
    , lstProcFunc(made<ChosenList>("lstProcFunc"))
    , cmdShowDb(button("cmdShowDb", QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽ表示"),
                       QStringLiteral("データベースの一覧を読みます (Alt+L)")))
    , cmdCreateDb(button("cmdCreateDb", QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽ作成"),
                         QStringLiteral("新しいデータベースを作ります (Alt+N)")))
    , cmdDropDb(button("cmdDropDb", QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽ削除"),
                       QStringLiteral("選択中のデータベースを中身ごと削除します (Alt+Shift+N)")))
    , cmdCreateUser(button("cmdCreateUser", QStringLiteral("ﾕｰｻﾞｰ設定"),
                           QStringLiteral("アカウントと権限を管理します (Alt+U)")))
    , openServer(button("openServer", QStringLiteral("サーバー"),
                        QStringLiteral("プロセス・ロック・負荷などを見ます (Ctrl+F8)")))
    , optTP{made<QRadioButton>("optTP_0", QStringLiteral("table")),
            made<QRadioButton>("optTP_1", QStringLiteral("proc"))}
    , optField{made<QRadioButton>("optField_0", QStringLiteral("ﾃｷｽﾄ")),
               made<QRadioButton>("optField_1", QStringLiteral("ｸﾞﾘｯﾄﾞ")),
               made<QRadioButton>("optField_2", QStringLiteral("ｽﾃｰﾀｽ")),
               made<QRadioButton>("optField_3", QStringLiteral("ﾃﾞｰﾀ一覧"))}
    , picTable(made<QWidget>("picTable"))
    , picProc(made<QWidget>("picProc"))
    , lblProcName(made<QLabel>("lblProcName"))
    , lblEditProcName(made<QLabel>("lblEditProcName", QStringLiteral("編集???：")))
    , lblCreateProc(made<QLabel>("lblCreateProc", QStringLiteral("create Procｽｸﾘﾌﾟﾄ")))
    , lblTableName(made<QLabel>("lblTableName"))
    , lblEditName(made<QLabel>("lblEditName", QStringLiteral("編集????：")))
    , lblCreateTable(made<QLabel>("lblCreateTable", QStringLiteral("create tableｽｸﾘﾌﾟﾄ")))
    , lblRecordCount(made<QLabel>("lblRecordCount"))
    , txtProc(made<SqlTextBox>("txtProc"))
    , txtField(made<SqlTextBox>("txtField"))
    , cmdCreateProc(button("cmdCreateProc", QStringLiteral("変更"),
                           QStringLiteral("編集した定義で作り直します (Ctrl+S)")))
    , cmdDropProc(button("cmdDropProc", QStringLiteral("削除"), QStringLiteral("このルーチンを削除します")))
    , cmdCreateTable(button("cmdCreateTable", QStringLiteral("ﾃｰﾌﾞﾙ変更"),
                            QStringLiteral("編集した定義で作り直し、行を移します (Ctrl+S)")))
    , cmdDropTable(button("cmdDropTable", QStringLiteral("ﾃｰﾌﾞﾙ削除"),
                          QStringLiteral("このテーブルまたはビューを削除します")))
    , cmdDataGet(button("cmdDataGet", QStringLiteral("ﾃﾞｰﾀ表示"),
                        QStringLiteral("先頭の行を読みます。読み取り中は停止ボタンになります (F6)")))
    , flGrid_Field(grid("flGrid_Field", QStringLiteral("列の一覧")))
    , flGrid_Index(grid("flGrid_Index", QStringLiteral("索引の一覧")))
    , flGrid_Status(grid("flGrid_Status", QStringLiteral("テーブルの状態")))
    , flGrid_Data(grid("flGrid_Data", QStringLiteral("データ一覧")))
    , rowsPane(made<RowsPane>("rowsPane", *flGrid_Data))
    , Label3(made<QLabel>("Label3", QStringLiteral("fields")))
    , Label8(made<QLabel>("Label8", QStringLiteral("index")))
    , fieldView(made<QSplitter>("fieldView", Qt::Vertical))
    , cmdCheckTable(
          button("cmdCheckTable", QStringLiteral("ﾃｰﾌﾞﾙ検査"), QStringLiteral("CHECK TABLE を実行します")))
    , cmdRepairTable(
          button("cmdRepairTable", QStringLiteral("ﾃｰﾌﾞﾙ修復"), QStringLiteral("REPAIR TABLE を実行します")))
    , cmdOptimizeTable(button("cmdOptimizeTable", QStringLiteral("ﾃｰﾌﾞﾙ最適化"),
                              QStringLiteral("OPTIMIZE TABLE を実行します")))
    , cmdBackup(button("cmdBackup", QStringLiteral("ﾊﾞｯｸｱｯﾌﾟ"),
                       QStringLiteral("サーバー上のフォルダーへバックアップします")))
    , cmdRestore(button("cmdRestore", QStringLiteral("復元"),
                        QStringLiteral("バックアップからテーブルを復元します")))
    , cmdCopyDb(button("cmdCopyDb", QStringLiteral("ﾃﾞｰﾀ ｺﾋﾟｰ"),
                       QStringLiteral("同じデータベースの中に日付付きの写しを作ります")))
    , cmdScriptBackUp(button("cmdScriptBackUp", QStringLiteral("全scriptﾊﾞｯｸｱｯﾌﾟ"),
                             QStringLiteral("全ての定義をファイルに書き出します")))
    , cmdExec(button("cmdExec", QStringLiteral("ｸｴﾘ実行"), QStringLiteral("SQLコンソールを開きます (F9)")))
    , openSheets(button("openSheets", QStringLiteral("SQLシート"),
                        QStringLiteral("文ごとに実行できるシートを、それぞれの接続で開きます (Ctrl+T)")))
    , cmdInOut(button("cmdInOut", QStringLiteral("ﾃﾞｰﾀ入出力"),
                      QStringLiteral("サーバー上のファイルとの間で行を入出力します")))
    , lblCkTableName(made<QLabel>("lblCkTableName"))
    , lblCnt(made<QLabel>("lblCnt"))
    , timeLeft(made<QLabel>("timeLeft"))
    , Label13(made<QLabel>("Label13", QStringLiteral("直前のｴﾗｰ")))
    , lblPreTable(made<QLabel>("lblPreTable", QStringLiteral("0:database,1:table")))
    , picStatus(made<PercentBar>("picStatus"))
    , txtError(made<QPlainTextEdit>("txtError"))
    , encryption(made<EncryptionSign>("encryption"))
    , showLog(button("showLog", QStringLiteral("SQLログ"), QStringLiteral("送信した文を下に並べます (F12)")))
    , log(made<StatementLogView>("statementLog", std::move(statements)))
{
    for (QComboBox *box : {cboDSNList, cboDrivers})
        makeEditable(*box);
    for (const int limit : {100, 1000, 10000})
        cboLimit->addItem(QString::number(limit), limit);
    cboLimit->setAccessibleName(QStringLiteral("行数の上限"));
    cboLimit->setToolTip(QStringLiteral("読む行数の上限"));
    txtError->setReadOnly(true);
    // Two lines where the log and a large font leave little room.
    txtError->setMinimumHeight(txtError->fontMetrics().lineSpacing() * 2 + 12);
    txtError->setMaximumHeight(txtError->fontMetrics().lineSpacing() * 3 + 12);
    Label13->setBuddy(txtError);
    txtError->setAccessibleName(Label13->text());
    flGrid_Field->setPlaceholderText(QStringLiteral("テーブルを選ぶと、列を表示します"));
    flGrid_Index->setPlaceholderText(QStringLiteral("テーブルを選ぶと、索引を表示します"));
    flGrid_Status->setPlaceholderText(QStringLiteral("データベースかテーブルを選ぶと、状態を表示します"));
    flGrid_Data->setPlaceholderText(QStringLiteral("テーブルを選んで F6 を押すと、行を表示します"));
    for (SqlTextBox *editor : {txtField, txtProc}) {
        editor->showLineNumbers(true);
        editor->setAccessibleDescription(QStringLiteral("Tab は字下げ、Ctrl+Tab で次の項目へ移ります"));
    }
    txtField->setAccessibleName(QStringLiteral("テーブル定義"));
    txtProc->setAccessibleName(QStringLiteral("ルーチン定義"));
    lblPreTable->setAccessibleName(QStringLiteral("直前の選択"));

    // Groups of their own: Qt takes option buttons of nested panels for one group.
    makeOptionGroup(window, {optTP.begin(), optTP.end()});
    makeOptionGroup(window, {optField.begin(), optField.end()});
    layOut(*this, window);
    for (QLabel *label : {lblProcName, lblEditProcName, lblCreateProc, lblTableName, lblEditName,
                          lblCreateTable, lblRecordCount, lblCkTableName, lblCnt, lblPreTable})
        label->setTextFormat(Qt::PlainText); // names may hold "<" and "&"

    // What only holds state is never shown.
    auto *label7 = made<QLabel>("Label7", QStringLiteral("直前の選択"));
    for (QLabel *holder : {lblCreateProc, lblCreateTable, lblPreTable, label7}) {
        holder->setParent(window);
        holder->hide();
    }
}
