#include "connections/passwordquestion.h"

#include "connections/keystore.h"
#include "controls/window/building.h"
#include "core/command/runner.h"
#include "core/session/connectionprofile.h"
#include "core/sql/listitem.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

std::optional<QString> keptPassword(const ConnectionProfile &profile, Runner &runner, const QObject &owner,
                                    QString &why)
{
    if (profile.keeping == PasswordKeeping::File)
        return profile.password;
    std::optional<QString> kept;
    if (profile.keeping == PasswordKeeping::Desktop)
        runner.run(&owner, QStringLiteral("キーストア"), [&] { kept = KeyStore().read(profile.id, why); });
    return kept;
}

QString passwordQuestion(const ConnectionProfile &profile, const QString &user, const QString &why)
{
    const QString question = QStringLiteral("「%1」に接続するパスワード (%2)").arg(profile.name, user);
    return why.isEmpty() ? question : question + QStringLiteral("\nキーストアから読めません: ") + why;
}

std::optional<QString> askForPassword(QWidget *parent, const QString &question)
{
    QDialog dialog(parent);
    dialog.setObjectName(QStringLiteral("passwordQuestion"));
    dialog.setWindowTitle(parent ? parent->windowTitle() : QStringLiteral("Tarnwell"));
    auto *layout = new QVBoxLayout(&dialog);
    auto *text = new QLabel(visibleText(question));
    text->setTextFormat(Qt::PlainText);
    text->setWordWrap(true);
    auto *box = made<QLineEdit>("passwordAnswer");
    box->setEchoMode(QLineEdit::Password);
    text->setBuddy(box);
    box->setAccessibleName(QStringLiteral("パスワード"));
    box->setMinimumWidth(box->fontMetrics().averageCharWidth() * 40);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    layout->addWidget(text);
    layout->addWidget(box);
    layout->addWidget(buttons);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    if (dialog.exec() != QDialog::Accepted)
        return {};
    return box->text();
}
