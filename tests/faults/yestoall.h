#pragma once

#include "controls/filebox.h"
#include "controls/folderbox.h"

#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>

// Says yes to everything, whatever is asked, and chooses the folder wherever one is to be chosen.
class YesToAll : public QObject {
public:
    explicit YesToAll(QString path = {})
        : folder(std::move(path))
    {
        look();
    }
    QString folder;
    QString typed; // into the one line of a dialog

private:
    void look()
    {
        QTimer::singleShot(1, this, &YesToAll::look);
        auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
        if (!dialog || dialog->property("isBeingUsed").toBool())
            return;
        dialog->setProperty("isBeingUsed", true);
        if (auto *box = qobject_cast<QMessageBox *>(dialog)) {
            QAbstractButton *yes = box->button(QMessageBox::Yes);
            if (!yes)
                yes = box->button(QMessageBox::Ok);
            for (QAbstractButton *each : box->buttons()) // of several choices the one that goes on
                if (!yes && each->text().contains(u"変更"))
                    yes = each;
            yes->click();
        } else if (auto *files = qobject_cast<QFileDialog *>(dialog)) {
            files->findChild<QLineEdit *>("fileNameEdit")->setText(folder);
            QMetaObject::invokeMethod(files, "accept");
        } else {
            use(*dialog);
        }
    }
    void use(QDialog &dialog)
    {
        if (auto *folders = dialog.findChild<FolderBox *>("Dir1")) {
            folders->setPath(folder);
            dialog.findChild<FileBox *>("File1")->selectAll();
        } else if (auto *line = dialog.findChild<QLineEdit *>()) {
            line->setText(typed);
        }
        dialog.findChild<QPushButton *>("cmdOk")->click();
        dialog.reject();
    }
};
