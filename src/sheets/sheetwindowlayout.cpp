// Where the controls of the sheets' window stand.
#include "controls/window/narrow.h"
#include "sheets/sheetwindow.h"

#include <QActionGroup>
#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QTabWidget>
#include <QToolButton>
#include <QVBoxLayout>

void SheetWindow::buildLayout()
{
    m_tabs->setTabsClosable(true);
    m_tabs->setMovable(true);
    m_tabs->setDocumentMode(true);
    m_pin->setCheckable(true);
    m_recent->setText(QStringLiteral("最近"));
    m_recent->setPopupMode(QToolButton::InstantPopup);
    m_recent->setMenu(new QMenu(m_recent));
    buildFormatMenu();
    m_transaction->setText(QStringLiteral("● トランザクション中"));
    QFont bold = m_transaction->font();
    bold.setBold(true);
    m_transaction->setFont(bold);
    for (QPushButton *button : {m_runStatement, m_runSheet, m_stop, m_commit, m_rollback, m_open, m_save,
                                m_script, m_history, m_edit, m_pin})
        letBeNarrow(*button);
    for (QPushButton *button : {m_commit, m_rollback, m_edit, m_pin}) // the words beside them want the room
        button->setMaximumWidth(button->minimumWidth());
    auto *run = new QHBoxLayout;
    for (QWidget *control :
         std::initializer_list<QWidget *>{m_runStatement, m_runSheet, m_stop, m_goesOn, m_safeMode})
        run->addWidget(control);
    run->addStretch(1);
    for (QWidget *control :
         std::initializer_list<QWidget *>{m_format, m_open, m_recent, m_save, m_script, m_history})
        run->addWidget(control);
    auto *state = new QHBoxLayout;
    state->addWidget(m_state, 1);
    for (QWidget *control :
         std::initializer_list<QWidget *>{m_transaction, m_autocommit, m_commit, m_rollback, m_edit, m_pin})
        state->addWidget(control);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(run);
    layout->addWidget(m_tabs, 1);
    layout->addLayout(state);
}

// The button lays out; its menu holds how keywords are written then.
void SheetWindow::buildFormatMenu()
{
    m_format->setText(QStringLiteral("整形"));
    m_format->setToolTip(QStringLiteral("選択範囲、なければ全体を整えます (Ctrl+Shift+F)"));
    m_format->setPopupMode(QToolButton::MenuButtonPopup);
    auto *menu = new QMenu(m_format);
    auto *group = new QActionGroup(menu);
    int value = 0;
    for (const QString &text :
         {QStringLiteral("キーワードはそのまま"), QStringLiteral("キーワードを大文字に"),
          QStringLiteral("キーワードを小文字に")}) {
        QAction *action = group->addAction(menu->addAction(text));
        action->setObjectName(QStringLiteral("keywordCase_%1").arg(value));
        action->setCheckable(true);
        action->setChecked(value == m_settings.number(QStringLiteral("KeywordCase"), 0));
        connect(action, &QAction::triggered, this,
                [this, value] { m_settings.keep(QStringLiteral("KeywordCase"), value); });
        ++value;
    }
    m_format->setMenu(menu);
    connect(m_format, &QToolButton::clicked, this, &SheetWindow::format);
}
