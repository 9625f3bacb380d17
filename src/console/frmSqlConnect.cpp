// Which signal and which key of the console does what.
#include "console/frmSql.h"
#include "controls/activation.h"

#include <QShortcut>

void frmSql::connectControls()
{
    connect(c.cmdExec, &QPushButton::clicked, this, &frmSql::cmdExec_Click);
    connect(c.cmdStop, &QPushButton::clicked, this, &frmSql::cmdStop_Click);
    connect(c.cmdAnalyze, &QPushButton::clicked, this, &frmSql::cmdAnalyze_Click);
    connect(c.cmdVariable, &QPushButton::clicked, this, &frmSql::cmdVariable_Click);
    connect(c.txtVariablename, &QLineEdit::returnPressed, this, &frmSql::cmdVariable_Click);
    connect(c.cmdVariabl, &QPushButton::clicked, this, &frmSql::cmdVariabl_Click);
    connect(c.cmdFolder, &QPushButton::clicked, this, &frmSql::cmdFolder_Click);
    connect(c.cmdEditer, &QPushButton::clicked, this, &frmSql::cmdEditer_Click);
    connect(c.ckNoTextNoGrid, &QCheckBox::toggled, this, &frmSql::ckNoTextNoGrid_Click);
    connect(c.ckMemo[0], &QCheckBox::toggled, this, &frmSql::ckNoTextNoGrid_Click);
    connect(c.optFont[1], &QRadioButton::toggled, this, &frmSql::optFont_Click);
    for (QRadioButton *choice : c.optRecord)
        connect(choice, &QRadioButton::toggled, this, &frmSql::showView);
    // At once, not only when the console closes: an activation chooses what the session says.
    connect(c.cboDelimiter, &QComboBox::currentIndexChanged, this,
            [this] { m_session.gDelimiter = c.cboDelimiter->currentText(); });
    connect(c.txtSql, &StatementBox::refused, this,
            [this](const QString &description) { m_dialogue->refuse(description); });
    c.txtError->installEventFilter(this);
    connect(new WindowActivation(this), &WindowActivation::activated, this, &frmSql::Form_Activate);
}

void frmSql::addKeys()
{
    for (const auto &[keys, button] : std::initializer_list<std::pair<QList<QKeySequence>, QPushButton *>>{
             {{Qt::Key_F5, Qt::CTRL | Qt::Key_Return, Qt::CTRL | Qt::Key_Enter}, c.cmdExec},
             {{Qt::SHIFT | Qt::Key_F5}, c.cmdStop},
             {{Qt::Key_F6}, c.cmdAnalyze},
             {{Qt::Key_F7}, c.cmdVariabl}}) {
        for (const QKeySequence &key : keys)
            connect(new QShortcut(key, this), &QShortcut::activated, button, &QPushButton::click);
    }
    for (std::size_t i = 0; i < c.optRecord.size(); ++i)
        c.optRecord[i]->setShortcut(Qt::CTRL | static_cast<Qt::Key>(Qt::Key_1 + static_cast<int>(i)));

    const auto onStatement = [this](QKeyCombination key, auto action) {
        connect(new QShortcut(key, c.txtSql, nullptr, nullptr, Qt::WidgetShortcut), &QShortcut::activated,
                this, action);
    };
    onStatement(Qt::CTRL | Qt::Key_Space, [this] { offerWords(); });
    onStatement(Qt::ALT | Qt::Key_Up, [this] { showHistory(m_history.older(c.txtSql->contents())); });
    onStatement(Qt::ALT | Qt::Key_Down, [this] { showHistory(m_history.newer()); });
}
