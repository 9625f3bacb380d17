#include "sheets/scriptfiledialog.h"

#include "controls/window/building.h"
#include "core/command/scriptguess.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

QString chooseSqlFile(QWidget *window, const QString &start, bool isForSaving, const QString &filter)
{
    QFileDialog dialog(window);
    dialog.setObjectName(QStringLiteral("sheetFile"));
    dialog.setWindowTitle(window->windowTitle());
    dialog.setNameFilters({filter, QStringLiteral("すべてのファイル (*)")});
    dialog.setAcceptMode(isForSaving ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog.setFileMode(isForSaving ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    if (isForSaving)
        dialog.setDefaultSuffix(QStringLiteral("sql"));
    const QFileInfo at(start);
    dialog.setDirectory(at.isDir() ? start : at.absolutePath());
    if (isForSaving && !at.isDir() && !start.isEmpty())
        dialog.selectFile(start);
    return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles().value(0) : QString();
}

std::optional<ScriptOptions> askForScript(QWidget *window, const QString &folder)
{
    QDialog dialog(window);
    dialog.setObjectName(QStringLiteral("scriptFileDialog"));
    dialog.setWindowTitle(QStringLiteral("ファイルを実行"));
    auto *path = made<QLineEdit>("scriptPath");
    path->setMinimumWidth(380);
    auto *browse = made<QPushButton>("scriptBrowse", QStringLiteral("参照..."));
    QObject::connect(browse, &QPushButton::clicked, &dialog, [&] {
        const QString chosen = chooseSqlFile(&dialog, path->text().isEmpty() ? folder : path->text(), false,
                                             QStringLiteral("SQL ファイル (*.sql *.sql.gz *.dump *.gz)"));
        if (!chosen.isEmpty())
            path->setText(chosen);
    });
    auto *line = new QHBoxLayout;
    line->addWidget(path, 1);
    line->addWidget(browse);
    auto *encoding = made<QComboBox>("scriptEncoding");
    encoding->addItems(
        {QStringLiteral("UTF-8（ダンプ）"), QStringLiteral("シフトJIS (CP932)"), QStringLiteral("EUC-JP")});
    auto *guess = made<QLabel>("scriptGuess");
    guess->setTextFormat(Qt::PlainText);
    auto *transaction =
        made<QCheckBox>("scriptInTransaction", QStringLiteral("ひとつのトランザクションで実行する"));
    transaction->setToolTip(QStringLiteral(
        "エラーや停止でロールバックします。CREATE TABLE などの文は、サーバーがその場で確定します。"));
    auto *goesOn = made<QCheckBox>("scriptGoesOn", QStringLiteral("エラーでも続ける"));
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    buttons->button(QDialogButtonBox::Ok)->setText(QStringLiteral("実行"));
    buttons->button(QDialogButtonBox::Cancel)->setText(QStringLiteral("キャンセル"));
    const auto check = [&] {
        const bool isFile = QFileInfo(path->text()).isFile();
        buttons->button(QDialogButtonBox::Ok)->setEnabled(isFile);
        const ScriptGuess guessed = isFile ? guessScript(path->text()) : ScriptGuess();
        encoding->setCurrentIndex(static_cast<int>(guessed.encoding));
        guess->setText(guessed.words);
        encoding->setAccessibleDescription(guessed.words);
    };
    check();
    QObject::connect(path, &QLineEdit::textChanged, &dialog, check);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    auto *layout = new QFormLayout(&dialog);
    layout->addRow(QStringLiteral("ファイル"), line);
    layout->addRow(QStringLiteral("文字コード"), encoding);
    layout->addRow(QString(), guess);
    layout->addRow(transaction);
    layout->addRow(goesOn);
    layout->addRow(buttons);
    if (dialog.exec() != QDialog::Accepted)
        return {};
    ScriptOptions options;
    options.path = path->text();
    options.encoding = static_cast<ScriptFile::Encoding>(encoding->currentIndex());
    options.isInTransaction = transaction->isChecked();
    options.goesOnAtErrors = goesOn->isChecked();
    return options;
}
