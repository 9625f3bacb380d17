#include "maintenance/frmRestore.h"

#include "controls/drivebox.h"
#include "controls/filebox.h"
#include "controls/folderbox.h"

#include <QDir>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

namespace {

QString withoutEnding(const QString &file)
{
    const QString ending = QStringLiteral(".frm");
    return file.endsWith(ending, Qt::CaseInsensitive) ? file.chopped(ending.size()) : file;
}

} // namespace

frmRestore::frmRestore(QWidget *parent)
    : QDialog(parent)
    , Drive1(new DriveBox(this))
    , Dir1(new FolderBox(this))
    , File1(new FileBox(this))
{
    setObjectName(QStringLiteral("frmRestore"));
    setWindowTitle(QStringLiteral("復元"));
    Drive1->setObjectName(QStringLiteral("Drive1"));
    Dir1->setObjectName(QStringLiteral("Dir1"));
    File1->setObjectName(QStringLiteral("File1"));
    File1->setPattern(QStringLiteral("*.frm"));
    layOut();

    connect(Drive1, &DriveBox::driveChosen, this, [this](const QString &path) {
        // A drive that cannot be read leaves the folder as it is, and the box must not claim otherwise.
        if (!Dir1->setPath(path))
            Drive1->showDriveOf(Dir1->path());
    });
    connect(Dir1, &FolderBox::pathChanged, File1, &FileBox::setPath);
    connect(Dir1, &FolderBox::pathChanged, Drive1, &DriveBox::showDriveOf);
    Dir1->setPath(QDir::homePath());
}

void frmRestore::layOut()
{
    auto *label = new QLabel(QStringLiteral("復元したいバックアップファイルを選択してください。\r\n"
                                            "複数選択も可能です。"),
                             this);
    label->setObjectName(QStringLiteral("Label1"));
    auto *path = new QLabel(this);
    path->setObjectName(QStringLiteral("folderPath"));
    path->setWordWrap(true);
    path->setTextFormat(Qt::PlainText);
    connect(Dir1, &FolderBox::pathChanged, path,
            [path](const QString &text) { path->setText(QDir::toNativeSeparators(text)); });
    auto *cmdOk = new QPushButton(QStringLiteral("OK"), this);
    cmdOk->setObjectName(QStringLiteral("cmdOk"));
    cmdOk->setAutoDefault(false); // Enter in the folder list goes into a folder
    auto *cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdCancel->setAutoDefault(false);

    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdOk);
    buttons->addWidget(cmdCancel);
    auto *layout = new QGridLayout(this);
    layout->addWidget(label, 0, 0, 1, 2);
    layout->addWidget(Drive1, 1, 0);
    layout->addWidget(Dir1, 2, 0);
    layout->addWidget(File1, 1, 1, 2, 1);
    layout->addWidget(path, 3, 0, 1, 2);
    layout->addLayout(buttons, 4, 0, 1, 2);
    layout->setColumnStretch(0, 1);
    layout->setColumnStretch(1, 1);
    layout->setRowStretch(2, 1);
    resize(fontMetrics().averageCharWidth() * 90, fontMetrics().height() * 24);

    connect(cmdOk, &QPushButton::clicked, this, &frmRestore::cmdOk_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

void frmRestore::cmdOk_Click()
{
    const QStringList files = File1->selectedFiles();
    if (!files.isEmpty())
        m_choice.names.clear();
    for (const QString &file : files)
        m_choice.names << withoutEnding(file);
    m_choice.folder = File1->path();
    accept();
}

RestoreChoice chooseBackupsWithWindow(QWidget *parent)
{
    frmRestore window(parent);
    window.exec();
    return window.choice();
}
