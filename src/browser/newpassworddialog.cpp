#include "browser/newpassworddialog.h"

#include "controls/window/building.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

QString askForNewPassword(QWidget *parent)
{
    QDialog dialog(parent);
    dialog.setObjectName(QStringLiteral("newPasswordDialog"));
    dialog.setWindowTitle(QStringLiteral("ﾊﾟｽﾜｰﾄﾞの変更"));
    auto *layout = new QFormLayout(&dialog);
    layout->addRow(new QLabel(
        QStringLiteral("ﾊﾟｽﾜｰﾄﾞの有効期限が切れています。\n新しいﾊﾟｽﾜｰﾄﾞを設定すると接続できます。")));
    auto *first = made<QLineEdit>("newPassword");
    auto *second = made<QLineEdit>("newPasswordAgain");
    for (QLineEdit *box : {first, second})
        box->setEchoMode(QLineEdit::Password);
    layout->addRow(QStringLiteral("新しいﾊﾟｽﾜｰﾄﾞ :"), first);
    layout->addRow(QStringLiteral("もう一度 :"), second);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    layout->addRow(buttons);
    QPushButton *ok = buttons->button(QDialogButtonBox::Ok);
    ok->setEnabled(false);
    for (QLineEdit *box : {first, second})
        QObject::connect(box, &QLineEdit::textChanged, &dialog, [=] {
            ok->setEnabled(!first->text().isEmpty() && first->text() == second->text());
        });
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    return dialog.exec() == QDialog::Accepted ? first->text() : QString();
}
