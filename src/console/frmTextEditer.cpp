#include "console/frmTextEditer.h"

#include "controls/window/activation.h"
#include "controls/window/stopping.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

frmTextEditer::frmTextEditer(Session &session, QWidget *parent)
    : QDialog(parent)
    , m_session(session)
    , txtFilename(new QLineEdit(session.gTextEditor))
{
    setObjectName(QStringLiteral("frmTextEditer"));
    setWindowTitle(QStringLiteral("ｴﾃﾞｨﾀｰ設定"));
    WindowActivation::setPassing(this);
    setWorksWhileRunning(this);
    txtFilename->setObjectName(QStringLiteral("txtFilename"));
    txtFilename->setMinimumWidth(txtFilename->fontMetrics().averageCharWidth() * 60);
    txtFilename->setPlaceholderText(QStringLiteral("テキストエディターのプログラム"));
    auto *label = new QLabel(QStringLiteral("ﾃｷｽﾄｴﾃﾞｨﾀｰ"));
    label->setBuddy(txtFilename);
    txtFilename->setAccessibleName(label->text());
    auto *cmdFolder = new QPushButton(QStringLiteral("参照..."));
    cmdFolder->setObjectName(QStringLiteral("cmdFolder"));
    cmdFolder->setAutoDefault(false);

    auto *buttons = new QDialogButtonBox;
    auto *cmdIn = buttons->addButton(QStringLiteral("OK"), QDialogButtonBox::AcceptRole);
    cmdIn->setObjectName(QStringLiteral("cmdIn"));
    cmdIn->setDefault(true);
    auto *cmdCancel = buttons->addButton(QStringLiteral("ｷｬﾝｾﾙ"), QDialogButtonBox::RejectRole);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));

    auto *line = new QHBoxLayout;
    line->addWidget(label);
    line->addWidget(txtFilename, 1);
    line->addWidget(cmdFolder);
    auto *all = new QVBoxLayout(this);
    all->addLayout(line);
    all->addStretch(1);
    all->addWidget(buttons);

    connect(cmdFolder, &QPushButton::clicked, this, &frmTextEditer::cmdFolder_Click);
    connect(cmdIn, &QPushButton::clicked, this, &frmTextEditer::cmdIn_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

void frmTextEditer::cmdFolder_Click()
{
    QStringList filters{QStringLiteral("ｴﾃﾞｨﾀｰ (*.exe)")};
#ifndef Q_OS_WIN
    // Programs carry no ".exe" here: with the one filter alone there would be nothing to choose.
    filters.prepend(QStringLiteral("すべてのﾌｧｲﾙ (*)"));
#endif
    const QString path = QFileDialog::getOpenFileName(this, windowTitle(), m_session.programFolder,
                                                      filters.join(QStringLiteral(";;")));
    if (!path.isEmpty())
        txtFilename->setText(path);
}

void frmTextEditer::cmdIn_Click()
{
    m_session.gTextEditor = txtFilename->text();
    accept();
}
