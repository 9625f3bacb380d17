#include "browser/frmTarnwellControls.h"

#include "controls/window/building.h"

namespace {

constexpr auto button = tipped<QPushButton>;

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
