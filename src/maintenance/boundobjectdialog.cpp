#include "maintenance/boundobjectdialog.h"

#include "controls/dialogue/widgetdialogue.h"
#include "controls/text/sqltextbox.h"
#include "controls/window/building.h"
#include "controls/window/stopping.h"
#include "core/command/writing.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

class BoundObjectDialog : public StoppableDialog {
public:
    BoundObjectDialog(QWidget *parent, Session &session, const BoundObject &object, const QString &text)
        : StoppableDialog(session.runner, parent)
        , m_session(session)
        , m_object(object)
        , m_shown(text)
        , m_dialogue(this, {})
        , m_text(made<SqlTextBox>("definitionText"))
    {
        setObjectName(QStringLiteral("definitionWindow"));
        const QString kind = object.isTrigger ? QStringLiteral("トリガー") : QStringLiteral("イベント");
        setWindowTitle(object.name.isEmpty()
                           ? QStringLiteral("%1の作成 %2").arg(kind, visibleName(object.database))
                           : QStringLiteral("%1 %2.%3")
                                 .arg(kind, visibleName(object.database), visibleName(object.name)));
        m_text->showLineNumbers(true);
        m_text->setContents(text);
        m_text->setAccessibleName(kind + QStringLiteral("の定義"));
        m_text->setAccessibleDescription(QStringLiteral("Tab は字下げ、Ctrl+Tab で次の項目へ移ります"));
        auto *note = new QLabel(
            object.name.isEmpty()
                ? QStringLiteral("サーバー %1").arg(serverName(session))
                : QStringLiteral("サーバー %1　作成者 (DEFINER)、sql_mode、文字セットは元のままです")
                      .arg(serverName(session)));
        note->setTextFormat(Qt::PlainText);
        auto *apply =
            made<QPushButton>("applyDefinitionText", object.name.isEmpty() ? QStringLiteral("作成(&S)")
                                                                           : QStringLiteral("変更(&S)"));
        apply->setEnabled(!session.profile.isReadOnly);
        apply->setAutoDefault(false);
        connect(apply, &QPushButton::clicked, this, &BoundObjectDialog::apply);
        auto *cancel = made<QPushButton>("cancelDefinitionText", QStringLiteral("キャンセル"));
        cancel->setAutoDefault(false);
        setStopsRunningCommand(cancel, true);
        connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
        auto *buttons = new QHBoxLayout;
        buttons->addWidget(note, 1);
        buttons->addWidget(apply);
        buttons->addWidget(cancel);
        auto *layout = new QVBoxLayout(this);
        layout->addWidget(m_text, 1);
        layout->addLayout(buttons);
        resize(680, 440);
    }

    void reject() override
    {
        if (m_session.runner.isRunning(this) || m_text->contents() == m_shown ||
            m_dialogue.warn(QStringLiteral("編集した定義を捨てます。")))
            StoppableDialog::reject();
    }

private:
    void apply()
    {
        bool isDone = false;
        m_session.runner.run(this, windowTitle(), [&] {
            isDone = m_object.name.isEmpty()
                         ? createBoundObject(m_session, m_dialogue, m_object, m_text->contents())
                         : changeBoundObject(m_session, m_dialogue, m_object, m_shown, m_text->contents());
        });
        if (isDone)
            accept();
    }

    Session &m_session;
    const BoundObject m_object;
    const QString m_shown;
    WidgetDialogue m_dialogue;
    SqlTextBox *m_text;
};

} // namespace

bool editBoundObject(QWidget *parent, Session &session, const BoundObject &object, const QString &text)
{
    return BoundObjectDialog(parent, session, object, text).exec() == QDialog::Accepted;
}
