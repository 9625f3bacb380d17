#include "controls/window/building.h"
#include "inout/frmInOut.h"

#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

namespace {

QHBoxLayout *row(std::initializer_list<QWidget *> widgets)
{
    auto *result = new QHBoxLayout;
    for (QWidget *widget : widgets)
        result->addWidget(widget);
    result->addStretch();
    return result;
}

} // namespace

InOutControls::InOutControls(QWidget &window)
    : optInOut_0(made<QRadioButton>("optInOut_0", QStringLiteral("出力")))
    , optInOut_1(made<QRadioButton>("optInOut_1", QStringLiteral("読み込み")))
    , optRorI_0(made<QRadioButton>("optRorI_0", QStringLiteral("上書き")))
    , optRorI_1(made<QRadioButton>("optRorI_1", QStringLiteral("ｽｷｯﾌﾟ")))
    , lblTitle(made<QLabel>("lblTitle", QStringLiteral("OUT FILE：")))
    , Label1(made<QLabel>("Label1", QStringLiteral("TABLE：")))
    , lblTableName(made<QLabel>("lblTableName"))
    , txtFilename(made<QLineEdit>("txtFilename"))
    , fraRorI(made<QGroupBox>("fraRorI", QStringLiteral("KEY重複ﾚｺｰﾄﾞ")))
    , cmdFolder(made<QPushButton>("cmdFolder", QStringLiteral("...")))
    , cmdOut(made<QPushButton>("cmdOut", QStringLiteral("出力")))
    , cmdIn(made<QPushButton>("cmdIn", QStringLiteral("読み込み")))
    , cmdCancel(made<QPushButton>("cmdCancel", QStringLiteral("Cancel")))
    , inOutError(made<QLabel>("inOutError"))
{
    for (QLabel *label : {lblTableName, inOutError})
        label->setTextFormat(Qt::PlainText);
    inOutError->setWordWrap(true);
    inOutError->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    txtFilename->setMinimumWidth(420);
    lblTitle->setBuddy(txtFilename);
    cmdFolder->setToolTip(QStringLiteral("ﾌｧｲﾙを選択します。"));
    cmdFolder->setAccessibleName(QStringLiteral("ﾌｧｲﾙを選択"));
    for (QPushButton *button : {cmdFolder, cmdOut, cmdIn, cmdCancel})
        button->setAutoDefault(false);
    // Import has no default: it overwrites rows without a question.
    cmdOut->setDefault(true);
    cmdFolder->setMaximumWidth(40);
    // Japanese captions make a button taller than "Cancel".
    cmdCancel->setMinimumHeight(cmdIn->sizeHint().height());

    makeOptionGroup(&window, {optInOut_0, optInOut_1});
    makeOptionGroup(&window, {optRorI_0, optRorI_1});

    // The frame's place stays when it is hidden, so that nothing jumps as the direction changes.
    fraRorI->setLayout(row({optRorI_0, optRorI_1}));
    QSizePolicy keepsPlace = fraRorI->sizePolicy();
    keepsPlace.setRetainSizeWhenHidden(true);
    fraRorI->setSizePolicy(keepsPlace);

    auto *fields = new QGridLayout;
    fields->addLayout(row({optInOut_0, optInOut_1}), 0, 0, 1, 3);
    fields->addWidget(Label1, 1, 0);
    fields->addWidget(lblTableName, 1, 1, 1, 2);
    fields->addWidget(lblTitle, 2, 0);
    fields->addWidget(txtFilename, 2, 1);
    fields->addWidget(cmdFolder, 2, 2);
    fields->setColumnStretch(1, 1);

    auto *commands = new QHBoxLayout;
    commands->addWidget(fraRorI);
    commands->addStretch();
    for (QPushButton *button : {cmdOut, cmdIn, cmdCancel})
        commands->addWidget(button, 0, Qt::AlignBottom);

    auto *layout = new QVBoxLayout(&window);
    layout->addLayout(fields);
    layout->addLayout(commands);
    layout->addWidget(inOutError);
    layout->addStretch();
}
