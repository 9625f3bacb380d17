#include "console/frmSqlControls.h"

#include "controls/window/building.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QSplitter>
#include <QVBoxLayout>

namespace {

QLabel *caption(const char *name, const QString &text, QWidget *buddy)
{
    auto *label = made<QLabel>(name, text);
    label->setBuddy(buddy);
    buddy->setAccessibleName(text);
    return label;
}

QWidget *statementArea(SqlControls &c)
{
    auto *area = new QWidget;
    auto *layout = new QGridLayout(area);
    layout->setContentsMargins({});
    auto *state = new QHBoxLayout;
    state->addWidget(c.lblState, 1);
    state->addWidget(c.encryption);
    layout->addLayout(state, 0, 0, 1, 2);
    layout->addWidget(c.txtSql, 1, 0);
    auto *buttons = new QVBoxLayout;
    for (QPushButton *button : {c.cmdExec, c.cmdStop, c.cmdAnalyze, c.cmdVariabl})
        buttons->addWidget(button);
    buttons->addStretch(1);
    layout->addLayout(buttons, 1, 1);
    layout->setColumnStretch(0, 1);
    return area;
}

QHBoxLayout *viewChoice(SqlControls &c)
{
    auto *layout = new QHBoxLayout;
    for (QRadioButton *choice : c.optRecord)
        layout->addWidget(choice);
    layout->addStretch(1);
    layout->addWidget(made<QLabel>("Label3", QStringLiteral("ﾚｺｰﾄﾞ数：")));
    layout->addWidget(c.lblRecordCount);
    layout->addSpacing(16);
    layout->addWidget(c.runTime);
    layout->addSpacing(16);
    layout->addWidget(caption("Label2", QStringLiteral("区切り文字"), c.cboDelimiter));
    layout->addWidget(c.cboDelimiter);
    return layout;
}

void layOutVariables(SqlControls &c)
{
    auto *layout = new QGridLayout(c.picVariablename);
    layout->setContentsMargins({});
    layout->addWidget(caption("Label7", QStringLiteral("ﾕｰｻﾞｰ変数一覧"), c.lstVariablename), 0, 0);
    layout->addWidget(caption("Label8", QStringLiteral("ﾃﾞｰﾀ一覧"), c.lstVariable), 0, 1);
    layout->addWidget(c.lstVariablename, 1, 0);
    layout->addWidget(c.lstVariable, 1, 1);
    auto *entry = new QHBoxLayout;
    entry->addWidget(c.txtVariablename, 1);
    entry->addWidget(c.cmdVariable);
    layout->addLayout(entry, 2, 0);
    auto *hints = new QVBoxLayout;
    for (QLabel *hint :
         {made<QLabel>("Label12", QStringLiteral("ﾘｽﾄから削除する場合は、ﾘｽﾄ選択後にDeleteｷｰ押下。")),
          made<QLabel>(
              "Label6",
              QStringLiteral("ﾕｰｻﾞｰ変数を設定しておく事で、変数ﾎﾞﾀﾝを押すだけでﾃﾞｰﾀを参照できます。"))}) {
        hint->setWordWrap(true);
        hints->addWidget(hint);
    }
    layout->addLayout(hints, 2, 1);
    layout->setColumnStretch(0, 2);
    layout->setColumnStretch(1, 3);
    layout->setRowStretch(1, 1);
}

QGridLayout *optionRows(SqlControls &c)
{
    auto *file = new QHBoxLayout;
    file->addWidget(c.ckNoTextNoGrid);
    file->addWidget(made<QLabel>("Label4", QStringLiteral("(ﾃﾞｰﾀ量が多い時)")));
    file->addSpacing(16);
    file->addWidget(c.ckMemo[0]);
    file->addWidget(c.ckMemo[1]);
    file->addWidget(c.cmdFolder);
    file->addWidget(c.cmdEditer);
    file->addStretch(1);
    file->addWidget(c.optFont[0]);
    file->addWidget(c.optFont[1]);
    auto *layout = new QGridLayout;
    layout->addLayout(file, 0, 0, 1, 2);
    layout->addWidget(caption("Label1", QStringLiteral("直前のｴﾗｰ"), c.txtError), 1, 0, Qt::AlignTop);
    layout->addWidget(c.txtError, 1, 1);
    layout->setColumnStretch(1, 1);
    return layout;
}

QWidget *resultArea(SqlControls &c)
{
    auto *area = new QWidget;
    auto *layout = new QVBoxLayout(area);
    layout->setContentsMargins({});
    layout->addLayout(viewChoice(c));
    for (QWidget *view : c.views())
        layout->addWidget(view, 1);
    layout->addLayout(optionRows(c));
    return area;
}

} // namespace

SqlControls::SqlControls(QWidget *window)
    : lblState(made<QLabel>("lblState"))
    , lblRecordCount(made<QLabel>("lblRecordCount", QStringLiteral("0")))
    , runTime(made<QLabel>("runTime"))
    , encryption(made<EncryptionSign>("encryption"))
    , txtSql(made<StatementBox>("txtSql"))
    , cmdExec(tipped<QPushButton>("cmdExec", QStringLiteral("実行"),
                                  QStringLiteral("SQL文を実行します (F5, Ctrl+Enter)\n"
                                                 "Ctrl+Space: 入力候補\nAlt+↑, Alt+↓: 実行したSQL文の履歴\n"
                                                 "Ctrl+Tab: 次の項目へ")))
    , cmdStop(tipped<QPushButton>("cmdStop", QStringLiteral("中止"),
                                  QStringLiteral("実行中のSQL文を中止します (Shift+F5)")))
    , cmdAnalyze(tipped<QPushButton>("cmdAnalyze", QStringLiteral("最適化"),
                                     QStringLiteral("サーバーの実行計画を表示します (F6)")))
    , optRecord{tipped<QRadioButton>("optRecord_0", QStringLiteral("ﾃｷｽﾄ"), QStringLiteral("Ctrl+1")),
                tipped<QRadioButton>("optRecord_1", QStringLiteral("ｸﾞﾘｯﾄﾞ"), QStringLiteral("Ctrl+2")),
                tipped<QRadioButton>("optRecord_2", QStringLiteral("最適化"), QStringLiteral("Ctrl+3")),
                tipped<QRadioButton>("optRecord_3", QStringLiteral("変数"), QStringLiteral("Ctrl+4"))}
    , txtRecord(made<ResultTextBox>("txtRecord"))
    , flgrid_Record(made<FlexGrid>("flgrid_Record"))
    , flgrid_ANALYZE(made<FlexGrid>("flgrid_ANALYZE"))
    , picVariablename(made<QWidget>("picVariablename"))
    , lstVariablename(made<ChosenList>("lstVariablename"))
    , lstVariable(made<ChosenList>("lstVariable"))
    , txtVariablename(made<QLineEdit>("txtVariablename"))
    , cmdVariable(tipped<QPushButton>("cmdVariable", QStringLiteral("追加"),
                                      QStringLiteral("変数名を一覧に加え、値を読みます (Enter)")))
    , cmdVariabl(tipped<QPushButton>("cmdVariabl", QStringLiteral("変数"),
                                     QStringLiteral("全ての変数の値を読みます (F7)")))
    , cboDelimiter(made<QComboBox>("cboDelimiter"))
    , ckNoTextNoGrid(tipped<QCheckBox>("ckNoTextNoGrid", QStringLiteral("ﾃｷｽﾄ・ｸﾞﾘｯﾄﾞに表示しない"),
                                       QStringLiteral("行をファイル sqldump.dat だけに書きます")))
    , ckMemo{tipped<QCheckBox>("ckMemo_0", QStringLiteral("Text保存"),
                               QStringLiteral("結果をファイル sqldump.dat に保存します")),
             tipped<QCheckBox>("ckMemo_1", QStringLiteral("Textを開く"),
                               QStringLiteral("保存したファイルをテキストエディターで開きます"))}
    , optFont{made<QRadioButton>("optFont_0", QStringLiteral("ﾌｫﾝﾄ固定")),
              tipped<QRadioButton>("optFont_1", QStringLiteral("ﾌｫﾝﾄ変更"),
                                   QStringLiteral("文字の大きさをウィンドウに合わせます"))}
    , cmdFolder(tipped<QPushButton>("cmdFolder", QStringLiteral("保存先..."),
                                    QStringLiteral("sqldump.dat を置くフォルダーを選びます")))
    , cmdEditer(tipped<QPushButton>("cmdEditer", QStringLiteral("ｴﾃﾞｨﾀｰ..."),
                                    QStringLiteral("テキストエディターを選びます")))
    , txtError(made<QPlainTextEdit>("txtError"))
{
    for (const char *delimiter : {"ｽﾍﾟｰｽ", "ﾀﾌﾞ", "|", "ｺﾝﾏ", "ｺﾛﾝ", "ｾﾐｺﾛﾝ"})
        cboDelimiter->addItem(QString::fromUtf8(delimiter));
    txtSql->setAccessibleName(QStringLiteral("SQL文"));
    txtSql->setAccessibleDescription(QStringLiteral("Tab は字下げ、Ctrl+Tab で次の項目へ移ります"));
    txtSql->showLineNumbers(true);
    txtRecord->setAccessibleName(QStringLiteral("結果のテキスト"));
    flgrid_Record->setAccessibleName(QStringLiteral("結果のグリッド"));
    flgrid_ANALYZE->setAccessibleName(QStringLiteral("実行計画"));
    lblState->setAccessibleName(QStringLiteral("接続の状態"));
    flgrid_Record->setPlaceholderText(QStringLiteral("SQL文を書いて F5 で実行すると、結果を表示します"));
    flgrid_ANALYZE->setPlaceholderText(QStringLiteral("SQL文を書いて F6 を押すと、実行計画を表示します"));
    lstVariablename->setPlaceholderText(QStringLiteral("下に変数名を入れて「追加」を押してください"));
    lstVariable->setPlaceholderText(QStringLiteral("「変数」(F7) を押すと値を表示します"));
    txtVariablename->setAccessibleName(QStringLiteral("変数名"));
    txtVariablename->setPlaceholderText(QStringLiteral("@変数名"));
    txtError->setReadOnly(true);
    txtError->setTabChangesFocus(true);
    txtError->setFixedHeight(txtError->fontMetrics().lineSpacing() * 3 + 12);
    for (QLabel *label : {lblState, lblRecordCount})
        label->setTextFormat(Qt::PlainText); // names may hold "<" and "&"
    makeOptionGroup(window, {optRecord.begin(), optRecord.end()});
    makeOptionGroup(window, {optFont.begin(), optFont.end()});
    layOutVariables(*this);

    auto *split = new QSplitter(Qt::Vertical);
    split->addWidget(statementArea(*this));
    split->addWidget(resultArea(*this));
    split->setChildrenCollapsible(false);
    split->setStretchFactor(0, 1);
    split->setStretchFactor(1, 2);
    auto *all = new QVBoxLayout(window);
    all->addWidget(split);
}

std::array<QWidget *, 4> SqlControls::views() const
{
    return {txtRecord, flgrid_Record, flgrid_ANALYZE, picVariablename};
}

QStringList SqlControls::scaledNames() const
{
    return {txtSql->objectName(), txtRecord->objectName(), flgrid_Record->objectName(),
            lstVariablename->objectName(), lstVariable->objectName()};
}
