#include "rows/rowdialogs.h"

#include "controls/window/building.h"
#include "core/sql/listitem.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

QPlainTextEdit *statementBox()
{
    auto *box = made<QPlainTextEdit>("statementTexts");
    box->setReadOnly(true);
    box->setLineWrapMode(QPlainTextEdit::NoWrap);
    return box;
}

QString joined(const QStringList &statements)
{
    return statements.isEmpty() ? QString() : statements.join(QStringLiteral(";\n")) + u';';
}

QString titleOf(const RowSaving &saving)
{
    QString title = saving.time.toString(QStringLiteral("MM/dd HH:mm:ss  ")) + saving.database + u'.' +
                    saving.table + QStringLiteral("  ") + saving.what;
    if (saving.isTooLarge)
        title += QStringLiteral("  (大きすぎるため、元に戻せません)");
    else if (saving.isUndone)
        title += QStringLiteral("  (元に戻しました)");
    return visibleName(title);
}

} // namespace

void showStatementTexts(QWidget *parent, const QString &title, const QStringList &statements)
{
    QDialog dialog(parent);
    dialog.setObjectName(QStringLiteral("rowStatements"));
    dialog.setWindowTitle(title);
    dialog.resize(700, 360);
    QPlainTextEdit *box = statementBox();
    box->setPlainText(joined(statements));
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    auto *layout = new QVBoxLayout(&dialog);
    layout->addWidget(box);
    layout->addWidget(buttons);
    dialog.exec();
}

void showChanges(QWidget *parent, const TableShape &table, const std::vector<RowChange> &changes)
{
    constexpr std::size_t mostShown = 1000;
    QStringList statements;
    for (std::size_t i = 0; i < std::min(changes.size(), mostShown); ++i)
        statements << statementOf(table, changes[i]);
    showStatementTexts(parent, QStringLiteral("保存で送る文"), statements);
}

std::optional<RowSaving> chooseSaving(QWidget *parent, const std::vector<RowSaving> &savings)
{
    QDialog dialog(parent);
    dialog.setObjectName(QStringLiteral("savedRows"));
    dialog.setWindowTitle(QStringLiteral("保存した行の変更を元に戻す"));
    dialog.resize(760, 440);
    auto *list = made<QListWidget>("savings");
    QPlainTextEdit *statements = statementBox();
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    QPushButton *undo = buttons->addButton(QStringLiteral("元に戻す(&U)"), QDialogButtonBox::AcceptRole);
    undo->setObjectName(QStringLiteral("undoSaving"));
    undo->setEnabled(false);
    for (const RowSaving &saving : savings)
        list->addItem(titleOf(saving));
    QObject::connect(list, &QListWidget::currentRowChanged, &dialog, [&](int row) {
        const RowSaving &saving = savings[static_cast<std::size_t>(row)];
        statements->setPlainText(joined(saving.statements));
        undo->setEnabled(!saving.inverse.empty() && !saving.isUndone);
    });
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    auto *layout = new QVBoxLayout(&dialog);
    layout->addWidget(list, 1);
    layout->addWidget(statements, 1);
    layout->addWidget(buttons);
    if (!savings.empty())
        list->setCurrentRow(0);
    if (dialog.exec() != QDialog::Accepted || list->currentRow() < 0)
        return {};
    return savings[static_cast<std::size_t>(list->currentRow())];
}
