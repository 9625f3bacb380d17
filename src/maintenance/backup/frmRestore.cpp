#include "maintenance/backup/frmRestore.h"

#include "controls/lists/fileboxes.h"

#include <QDir>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QVBoxLayout>

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
    File1->setPlaceholderText(QStringLiteral(
        "このフォルダーにバックアップファイル (*.frm) はありません。左で別のフォルダーを選んでください"));
    Drive1->setToolTip(QStringLiteral("ドライブ"));
    Dir1->setAccessibleName(QStringLiteral("フォルダー"));
    File1->setAccessibleName(QStringLiteral("バックアップファイル"));
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
    cmdOk->setDefault(true); // but Enter in the folder list goes into a folder
    auto *cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdCancel->setAutoDefault(false);

    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(cmdOk);
    buttons->addWidget(cmdCancel);
    auto *places = new QVBoxLayout;
    places->addWidget(Drive1);
    places->addWidget(Dir1);
    auto *boxes = new QHBoxLayout;
    boxes->addLayout(places, 1);
    boxes->addWidget(File1, 1);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(label);
    layout->addLayout(boxes, 1);
    layout->addWidget(path);
    layout->addLayout(buttons);
    resize(
        QSize(fontMetrics().height() * 40, fontMetrics().height() * 24).boundedTo(screen()->availableSize()));

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
