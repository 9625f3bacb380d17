#include "controls/dialogue/basfolder.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QLayout>
#include <QRegularExpression>

QString fBrowseFolder(const QString &title, QWidget *owner, const QString &startFolder)
{
    QFileDialog dialog(owner);
    dialog.setObjectName(QStringLiteral("fBrowseFolder"));
    dialog.setFileMode(QFileDialog::Directory);
    // Not the desktop's own dialog: that one has no room for a prompt of two lines.
    dialog.setOptions(QFileDialog::ShowDirsOnly | QFileDialog::DontUseNativeDialog);
    dialog.setWindowTitle(title.section(QRegularExpression(QStringLiteral("[\r\n]")), 0, 0));
    auto *prompt = new QLabel(title, &dialog);
    prompt->setTextFormat(Qt::PlainText);
    prompt->setWordWrap(true);
    prompt->setMargin(8);
    if (dialog.layout())
        dialog.layout()->setMenuBar(prompt); // above everything else
    if (!startFolder.isEmpty() && QFileInfo(startFolder).isDir())
        dialog.setDirectory(startFolder);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty())
        return {};
    const QFileInfo chosen(dialog.selectedFiles().constFirst());
    if (!chosen.isDir())
        return {};
    QString path = chosen.absoluteFilePath();
    while (path.endsWith(u'/') && !QFileInfo(path).isRoot())
        path.chop(1);
    return QDir::toNativeSeparators(path);
}
