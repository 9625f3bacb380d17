#include "controls/dialogue/pendingchanges.h"

#include "controls/text/textcolours.h"
#include "controls/window/building.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

QString line(const PendingChange &change)
{
    return QStringLiteral("%1 (%2)").arg(change.what,
                                         change.begun.toString(QStringLiteral("yyyy/MM/dd HH:mm")));
}

QString details(const PendingChange &change)
{
    QStringList pieces;
    if (!change.state.isEmpty())
        pieces << change.state;
    if (!change.undoing.isEmpty())
        pieces << QStringLiteral("元に戻す文:\n%1;").arg(change.undoing.join(QStringLiteral(";\n")));
    if (!change.finishing.isEmpty())
        pieces << QStringLiteral("残っている文:\n%1;").arg(change.finishing);
    return pieces.join(QStringLiteral("\n\n"));
}

class PendingDialog : public QDialog {
public:
    PendingDialog(QWidget *parent, const std::vector<PendingChange> &changes);

    PendingAnswer answer;

private:
    QPushButton *addAction(const char *name, const QString &text, PendingAnswer::Action action);
    void showChange(int row);

    const std::vector<PendingChange> &m_changes;
    QListWidget *m_list = made<QListWidget>("pendingList");
    QPlainTextEdit *m_statements = made<QPlainTextEdit>("pendingStatements");
    QDialogButtonBox *m_buttons = new QDialogButtonBox;
    QPushButton *m_undo, *m_finish;
};

PendingDialog::PendingDialog(QWidget *parent, const std::vector<PendingChange> &changes)
    : QDialog(parent)
    , m_changes(changes)
    , m_undo(addAction("undoPending", QStringLiteral("元に戻す(&U)"), PendingAnswer::Action::Undo))
    , m_finish(addAction("finishPending", QStringLiteral("最後まで行う(&F)"), PendingAnswer::Action::Finish))
{
    setObjectName(QStringLiteral("pendingChanges"));
    setWindowTitle(QStringLiteral("終わっていない変更"));
    addAction("forgetPending", QStringLiteral("記録を消す(&D)"), PendingAnswer::Action::Forget);
    auto *later = m_buttons->addButton(QStringLiteral("後で決める(&L)"), QDialogButtonBox::RejectRole);
    later->setObjectName(QStringLiteral("decideLater"));
    later->setDefault(true); // Enter changes nothing
    connect(later, &QPushButton::clicked, this, &QDialog::reject);

    m_list->setAccessibleName(windowTitle());
    m_list->setItemDelegate(new VisibleItems(m_list));
    for (const PendingChange &change : m_changes)
        m_list->addItem(line(change));
    m_statements->setAccessibleName(QStringLiteral("文"));
    m_statements->setReadOnly(true);
    m_statements->setTabChangesFocus(true);
    m_statements->setFont(codeFont());
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(
        new QLabel(QStringLiteral("次の変更は、プログラムの終了か切断のため、終わっていません。\n"
                                  "「記録を消す」は、サーバーをそのままにして、この一覧から除きます。")));
    layout->addWidget(m_list, 1);
    layout->addWidget(m_statements, 3);
    layout->addWidget(m_buttons);
    resize(fontMetrics().averageCharWidth() * 90, fontMetrics().lineSpacing() * 26);
    connect(m_list, &QListWidget::currentRowChanged, this, &PendingDialog::showChange);
    m_list->setCurrentRow(0);
    m_list->setFocus();
}

QPushButton *PendingDialog::addAction(const char *name, const QString &text, PendingAnswer::Action action)
{
    QPushButton *button = m_buttons->addButton(text, QDialogButtonBox::ActionRole);
    button->setObjectName(QLatin1String(name));
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, [this, action] {
        answer = {action, static_cast<std::size_t>(m_list->currentRow())};
        accept();
    });
    return button;
}

void PendingDialog::showChange(int row)
{
    const PendingChange &change = m_changes.at(static_cast<std::size_t>(row));
    m_statements->setPlainText(details(change));
    m_undo->setEnabled(!change.undoing.isEmpty());
    m_finish->setEnabled(!change.finishing.isEmpty());
}

} // namespace

PendingAnswer askPendingChanges(QWidget *parent, const std::vector<PendingChange> &changes)
{
    PendingDialog dialog(parent, changes);
    dialog.exec();
    return dialog.answer;
}
