#include "maintenance/frmCreateDB.h"

#include "controls/dialogue/widgetdialogue.h"
#include "core/sql/statements.h"
#include "maintenance/createdrop.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

frmCreateDB::frmCreateDB(QWidget *parent, Session &session, Dialogue &mainWindow)
    : StoppableDialog(session.runner, parent)
    , m_session(session)
    , m_mainWindow(mainWindow)
    , txtDatabase(new QLineEdit(this))
{
    setObjectName(QStringLiteral("frmCreateDB"));
    setWindowTitle(QStringLiteral("Create Database"));
    auto *label = new QLabel(QStringLiteral("Database名："), this);
    label->setObjectName(QStringLiteral("Label1"));
    label->setBuddy(txtDatabase);
    txtDatabase->setObjectName(QStringLiteral("txtDatabase"));
    txtDatabase->setMinimumWidth(fontMetrics().averageCharWidth() * 40);
    auto *cmdOk = new QPushButton(QStringLiteral("OK"), this);
    cmdOk->setObjectName(QStringLiteral("cmdOk"));
    cmdOk->setDefault(true); // the Enter key in the box is a click here
    auto *cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    setStopsRunningCommand(cmdCancel, true);

    auto *entry = new QHBoxLayout;
    entry->addWidget(label);
    entry->addWidget(txtDatabase, 1);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdOk);
    buttons->addWidget(cmdCancel);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(entry);
    layout->addLayout(buttons);

    connect(cmdOk, &QPushButton::clicked, this, &frmCreateDB::cmdOk_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

void frmCreateDB::cmdOk_Click()
{
    const QString name = trimmedBlanks(txtDatabase->text());
    if (name.isEmpty()) {
        WidgetDialogue(this, {}).inform(QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽ名を入力してください。"));
        return;
    }
    m_session.runner.run(this, windowTitle(), [&] { create(name); });
}

void frmCreateDB::create(const QString &name)
{
    WidgetDialogue dialogue(this, {});
    CreateDatabaseContext context{m_session, name, dialogue, m_mainWindow};
    if (createDatabase(context))
        accept();
}

bool showCreateDatabase(QWidget *parent, Session &session, Dialogue &mainWindow)
{
    frmCreateDB dialog(parent, session, mainWindow);
    return dialog.exec() == QDialog::Accepted;
}
