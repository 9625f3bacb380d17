#include "inout/frmInOut.h"

#include "core/command/writing.h"
#include "core/sql/listitem.h"

#include <QDir>
#include <QFileDialog>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>

namespace {

QString withSeparator(QString folder)
{
    return folder.endsWith(QDir::separator()) ? folder : folder + QDir::separator();
}

// Shows a file dialog that starts at the path; empty when cancelled.
QString chooseFile(QWidget *window, bool isExport, const QString &start)
{
    QFileDialog dialog(window);
    dialog.setObjectName(QStringLiteral("CommonDialog1"));
    dialog.setWindowTitle(window->windowTitle());
    dialog.setNameFilter(isExport ? QStringLiteral("出力 ファイル (*.dat)")
                                  : QStringLiteral("読み込み ファイル (*.dat)"));
    dialog.setAcceptMode(isExport ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(isExport ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    dialog.setDefaultSuffix(QStringLiteral("dat"));
    // An existing file is refused by the export itself.
    dialog.setOption(QFileDialog::DontConfirmOverwrite);
    const QFileInfo at(start);
    dialog.setDirectory(at.isDir() ? start : at.absolutePath());
    if (isExport && !at.isDir())
        dialog.selectFile(start);
    return dialog.exec() == QDialog::Accepted ? QDir::toNativeSeparators(dialog.selectedFiles().value(0))
                                              : QString();
}

} // namespace

frmInOut::frmInOut(Session &session, const QString &item, QWidget *parent, Dialogue &mainWindow,
                   Dialogue *dialogue)
    : StoppableDialog(session.runner, parent)
    , m_session(session)
    , m_controls(*this)
    , m_boxes(this, {})
    , m_dialogue(dialogue ? *dialogue : m_boxes)
    , m_mainWindow(mainWindow)
{
    setObjectName(QStringLiteral("frmInOut"));
    setWindowTitle(QStringLiteral("IN / OUT"));
    connectControls();
    Form_Load(ListItem::required(item).name);
}

void frmInOut::connectControls()
{
    const InOutControls &c = m_controls;
    connect(c.optInOut_0, &QRadioButton::toggled, this, [this](bool isOn) { optInOut_Click(isOn ? 0 : 1); });
    connect(c.cmdFolder, &QPushButton::clicked, this, &frmInOut::cmdFolder_Click);
    for (const InOutCommand &command : inOutCommands())
        connect(findChild<QPushButton *>(QLatin1String(command.id)), &QPushButton::clicked, this,
                [this, &command] { run(command); });
    connect(c.cmdCancel, &QPushButton::clicked, this, &QDialog::close);
    setStopsRunningCommand(c.cmdCancel, true);
}

void frmInOut::Form_Load(const QString &tableName)
{
    m_fileFolder =
        withSeparator(m_session.gInOutPath.isEmpty() ? m_session.programFolder : m_session.gInOutPath);
    m_controls.lblTableName->setText(tableName);
    m_controls.txtFilename->setText(m_fileFolder + tableName + QStringLiteral(".dat"));
    m_controls.optRorI_0->setChecked(true);
    m_controls.optInOut_0->setChecked(true);
}

void frmInOut::optInOut_Click(int index)
{
    const bool isExport = index == 0;
    m_controls.lblTitle->setText(isExport ? QStringLiteral("OUT FILE：") : QStringLiteral("IN FILE："));
    m_controls.cmdOut->setVisible(isExport);
    m_controls.cmdIn->setVisible(!isExport);
    m_controls.fraRorI->setVisible(!isExport);
}

void frmInOut::cmdFolder_Click()
{
    const QString text = m_controls.txtFilename->text();
    const QString start = text.isEmpty() ? m_session.programFolder : text;
    m_fileFolder = chooseFile(this, m_controls.optInOut_0->isChecked(), start);
    if (!m_fileFolder.isEmpty())
        m_controls.txtFilename->setText(m_fileFolder);
}

void frmInOut::run(const InOutCommand &command)
{
    InOutOutcome outcome;
    QString failure;
    m_controls.inOutError->clear();
    m_session.runner.run(this, windowTitle(), [&] {
        if (command.writes && !mayWrite(m_session, m_dialogue))
            return;
        const InOutForm entries = form();
        InOutContext context{m_session, entries, m_dialogue, m_mainWindow, {}};
        outcome = command.run(context);
        failure = context.failure;
    });
    m_controls.inOutError->setText(failure);
    if (!outcome.isDone)
        return;
    rememberFolder();
    close();
}

InOutForm frmInOut::form() const
{
    return {m_controls.lblTableName->text(), m_controls.txtFilename->text(),
            m_controls.optRorI_0->isChecked()};
}

void frmInOut::rememberFolder()
{
    if (!m_fileFolder.isEmpty())
        m_session.gInOutPath = m_fileFolder.left(m_fileFolder.lastIndexOf(QDir::separator()) + 1);
}

void showInOutWindow(QWidget *parent, Session &session, const QString &item, Dialogue &mainWindow)
{
    try {
        frmInOut window(session, item, parent, mainWindow);
        window.exec();
    } catch (const Failure &error) {
        mainWindow.setLastError(error.description(), false);
        mainWindow.refuse(error.description());
    }
}
