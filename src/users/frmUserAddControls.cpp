#include "users/frmUserAddControls.h"

#include "controls/lists/chosenlist.h"
#include "controls/window/building.h"
#include "controls/window/narrow.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>

namespace {

QPushButton *button(const char *name, const QString &caption)
{
    auto *result = made<QPushButton>(name, caption);
    // Enter in a text box must not press a button that nobody looked at.
    result->setAutoDefault(false);
    return result;
}

QLabel *stateLabel(const char *name, const QString &caption)
{
    auto *label = made<QLabel>(name, caption);
    label->setTextFormat(Qt::PlainText);
    label->setFrameShape(QFrame::StyledPanel);
    return label;
}

ChosenList *list(const char *name, const QString &title, const QString &toolTip, const QString &whenEmpty)
{
    auto *result = made<ChosenList>(name);
    result->setMinimumHeight(70);
    result->setAccessibleName(title);
    result->setToolTip(toolTip);
    result->setPlaceholderText(whenEmpty);
    return result;
}

std::array<QPushButton *, 2> checkAllButtons(const char *name)
{
    const QByteArray base(name);
    return {button(base + "_0", QStringLiteral("全ﾁｪｯｸ")), button(base + "_1", QStringLiteral("全ﾁｪｯｸ解除"))};
}

std::vector<QCheckBox *> checkBoxes(const char *name, std::span<const Privilege> privileges)
{
    std::vector<QCheckBox *> boxes;
    for (const Privilege &privilege : privileges) {
        auto *box = new QCheckBox(privilege.caption.toString());
        box->setObjectName(QStringLiteral("%1_%2").arg(QLatin1String(name)).arg(boxes.size()));
        box->setToolTip(privilege.toolTip.toString());
        boxes.push_back(box);
    }
    return boxes;
}

// The boxes in index order, line by line; the boxes from newer on, which old servers lack, stand after a
// note.
QGridLayout *boxGrid(const std::vector<QCheckBox *> &boxes, int columns, std::size_t newer)
{
    auto *grid = new QGridLayout;
    grid->setVerticalSpacing(2);
    int cell = 0;
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        if (i == newer) {
            cell = (cell + columns - 1) / columns * columns;
            grid->addWidget(new QLabel(QStringLiteral("Ver.5以上")), cell / columns, cell % columns);
            ++cell;
        }
        grid->addWidget(boxes[i], cell / columns, cell % columns);
        ++cell;
    }
    for (int column = 0; column < columns; ++column)
        grid->setColumnStretch(column, 1);
    return grid;
}

QHBoxLayout *buttonRow(std::array<QPushButton *, 2> checkAll, const std::vector<QPushButton *> &commands)
{
    auto *row = new QHBoxLayout;
    row->addWidget(checkAll[0]);
    row->addWidget(checkAll[1]);
    row->addStretch();
    for (QPushButton *command : commands)
        row->addWidget(command);
    return row;
}

// A list under its heading.
QVBoxLayout *headed(const QString &heading, QWidget *below)
{
    auto *column = new QVBoxLayout;
    column->addWidget(new QLabel(heading));
    column->addWidget(below);
    return column;
}

QVBoxLayout *accountColumn(const UserControls &c)
{
    auto *fields = new QGridLayout;
    fields->addWidget(c.lblUserName, 0, 0);
    fields->addWidget(c.lblHostName, 0, 1);
    const std::array<std::pair<QString, QLineEdit *>, 3> rows{{{QStringLiteral("ﾕｰｻﾞｰ名 :"), c.txtUser},
                                                               {QStringLiteral("ﾎｽﾄ名 :"), c.txtHost},
                                                               {QStringLiteral("ﾊﾟｽﾜｰﾄﾞ :"), c.txtPassword}}};
    int row = 1;
    for (const auto &[caption, box] : rows) {
        auto *label = new QLabel(caption);
        label->setBuddy(box);
        fields->addWidget(label, row, 0);
        fields->addWidget(box, row++, 1);
        if (box == c.txtHost)
            fields->addWidget(new QLabel(QStringLiteral("% : 全てのﾎｽﾄ")), row++, 1);
    }
    fields->setColumnStretch(1, 1);

    auto *column = headed(QStringLiteral("USER一覧"), c.lstUser);
    column->addLayout(fields);
    for (QPushButton *each : {c.cmdOk, c.cmdGrantEdit, c.cmdDelete})
        column->addWidget(each);
    column->addSpacing(12);
    column->addWidget(c.cmdCancel);
    return column;
}

QGroupBox *globalFrame(const UserControls &c)
{
    auto *frame = new QGroupBox(QStringLiteral("USER権限"));
    auto *column = new QVBoxLayout(frame);
    column->addLayout(boxGrid(c.ckPrivType, 6, 21));
    column->addLayout(buttonRow(c.cmdUserGrantAllCK, {}));
    return frame;
}

QGroupBox *databaseFrame(const UserControls &c)
{
    auto *target = headed(QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽ :"), c.lstAddDB);
    target->addWidget(new QLabel(QStringLiteral("* : 権限なし ")));

    auto *boxes = new QVBoxLayout;
    boxes->addWidget(c.lblDbName);
    boxes->addLayout(boxGrid(c.ckDBPrivType, 3, 12));
    boxes->addStretch();
    boxes->addLayout(buttonRow(c.cmdDbGrantAllCK, {c.cmdDbGrantAdd, c.cmdDbGrantEdit, c.cmdDbGrantDel}));

    auto *frame = new QGroupBox(QStringLiteral("DB権限"));
    auto *row = new QHBoxLayout(frame);
    row->addLayout(headed(QStringLiteral("DB一覧"), c.lstDB), 3);
    row->addLayout(target, 4);
    row->addLayout(boxes, 8);
    return frame;
}

QGroupBox *tableFrame(const UserControls &c)
{
    auto *target = new QVBoxLayout;
    target->addWidget(c.cboAddDB);
    target->addWidget(c.lstAddTable);

    auto *shown = new QHBoxLayout;
    shown->addWidget(c.lblTableNameDB, 1);
    shown->addWidget(c.lblTableName, 1);
    auto *boxes = new QVBoxLayout;
    boxes->addLayout(shown);
    boxes->addLayout(boxGrid(c.ckTablePrivType, 4, c.ckTablePrivType.size()));
    boxes->addStretch();
    boxes->addLayout(
        buttonRow(c.cmdTableGrantAllCK, {c.cmdTableGrantAdd, c.cmdTableGrantEdit, c.cmdTableGrantDel}));

    auto *frame = new QGroupBox(QStringLiteral("Table権限"));
    auto *row = new QHBoxLayout(frame);
    row->addLayout(headed(QStringLiteral("TABLE一覧"), c.lstTable), 3);
    row->addLayout(target, 4);
    row->addLayout(boxes, 8);
    return frame;
}

} // namespace

UserControls::UserControls(QWidget &window)
    : lstUser(list("lstUser", QStringLiteral("USER一覧"),
                   QStringLiteral("ﾕｰｻﾞｰを選択すると権限を表示します。「新規」で追加します。"),
                   QStringLiteral("ﾕｰｻﾞｰの一覧 (mysql.user) を読む権限がありません。")))
    , lstDB(list("lstDB", QStringLiteral("DB一覧"), QStringLiteral("このﾕｰｻﾞｰが権限を持つﾃﾞｰﾀﾍﾞｰｽです。"),
                 QStringLiteral("DB権限はありません。右のﾃﾞｰﾀﾍﾞｰｽと権限を選択して追加します。")))
    , lstAddDB(list("lstAddDB", QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽ"),
                    QStringLiteral("権限を与えるﾃﾞｰﾀﾍﾞｰｽを選択します。"), {}))
    , lstTable(list("lstTable", QStringLiteral("TABLE一覧"),
                    QStringLiteral("このﾕｰｻﾞｰが権限を持つﾃｰﾌﾞﾙです。"),
                    QStringLiteral("Table権限はありません。右のﾃｰﾌﾞﾙと権限を選択して追加します。")))
    , lstAddTable(list("lstAddTable", QStringLiteral("ﾃｰﾌﾞﾙ"),
                       QStringLiteral("権限を与えるﾃｰﾌﾞﾙを選択します。"),
                       QStringLiteral("上でﾃﾞｰﾀﾍﾞｰｽを選択するとﾃｰﾌﾞﾙを表示します。")))
    , cboAddDB(made<QComboBox>("cboAddDB"))
    , lblHostName(stateLabel("lblHostName", QStringLiteral("Host")))
    , lblUserName(stateLabel("lblUserName", QStringLiteral("USER")))
    , lblDbName(stateLabel("lblDbName", {}))
    , lblTableNameDB(stateLabel("lblTableNameDB", {}))
    , lblTableName(stateLabel("lblTableName", {}))
    , txtUser(made<QLineEdit>("txtUser"))
    , txtHost(made<QLineEdit>("txtHost"))
    , txtPassword(made<QLineEdit>("txtPassword"))
    , ckPrivType(checkBoxes("ckPrivType", globalPrivileges()))
    , ckDBPrivType(checkBoxes("ckDBPrivType", databasePrivileges()))
    , ckTablePrivType(checkBoxes("ckTablePrivType", tablePrivileges()))
    , cmdUserGrantAllCK(checkAllButtons("cmdUserGrantAllCK"))
    , cmdDbGrantAllCK(checkAllButtons("cmdDbGrantAllCK"))
    , cmdTableGrantAllCK(checkAllButtons("cmdTableGrantAllCK"))
    , cmdOk(button("cmdOk", QStringLiteral("ﾕｰｻﾞｰ追加")))
    , cmdGrantEdit(button("cmdGrantEdit", QStringLiteral("ﾕｰｻﾞｰ変更")))
    , cmdDelete(button("cmdDelete", QStringLiteral("ﾕｰｻﾞｰ削除")))
    , cmdCancel(button("cmdCancel", QStringLiteral("閉じる")))
    , cmdDbGrantAdd(button("cmdDbGrantAdd", QStringLiteral("追加")))
    , cmdDbGrantEdit(button("cmdDbGrantEdit", QStringLiteral("変更")))
    , cmdDbGrantDel(button("cmdDbGrantDel", QStringLiteral("削除")))
    , cmdTableGrantAdd(button("cmdTableGrantAdd", QStringLiteral("追加")))
    , cmdTableGrantEdit(button("cmdTableGrantEdit", QStringLiteral("変更")))
    , cmdTableGrantDel(button("cmdTableGrantDel", QStringLiteral("削除")))
{
    txtPassword->setEchoMode(QLineEdit::Password);
    cboAddDB->setAccessibleName(QStringLiteral("ﾃｰﾌﾞﾙのﾃﾞｰﾀﾍﾞｰｽ"));
    cboAddDB->setToolTip(QStringLiteral("権限を与えるﾃｰﾌﾞﾙのﾃﾞｰﾀﾍﾞｰｽを選択します。"));
    // A long name may not widen its column.
    cboAddDB->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    // Names and columns differ in width; the longest must stay readable by scrolling.
    for (ChosenList *each : {lstUser, lstDB, lstAddDB, lstTable, lstAddTable}) {
        each->setUniformItemSizes(false);
        each->setTextElideMode(Qt::ElideNone);
    }
    for (ChosenList *each : {lstUser, lstTable})
        each->setPairs();
    for (QPushButton *each : {cmdGrantEdit, cmdDelete, cmdDbGrantAdd, cmdDbGrantEdit, cmdDbGrantDel,
                              cmdTableGrantAdd, cmdTableGrantEdit, cmdTableGrantDel})
        each->setToolTip(QStringLiteral("USER一覧で、役割ではないﾕｰｻﾞｰを選択すると使えます。"));
    cmdOk->setToolTip(QStringLiteral("USER一覧の「新規」を選択すると使えます。"));
    auto *frames = new QVBoxLayout;
    frames->addWidget(globalFrame(*this));
    frames->addWidget(databaseFrame(*this), 1);
    frames->addWidget(tableFrame(*this), 1);
    auto *all = new QWidget;
    auto *columns = new QHBoxLayout(all);
    columns->addLayout(accountColumn(*this), 1);
    columns->addLayout(frames, 3);
    auto *layout = new QVBoxLayout(&window);
    layout->setContentsMargins({});
    layout->addWidget(scrolling(all));
    window.resize(1000, std::min(680, window.screen()->availableSize().height()));
}
