#include "controls/resulttextaccess.h"

#include "controls/resulttextbox.h"

namespace {

constexpr qint64 mostCharacters = 100000;

} // namespace

ResultTextAccess::ResultTextAccess(ResultTextBox *box)
    : QAccessibleWidget(box, QAccessible::EditableText)
    , m_box(*box)
{
}

QAccessibleInterface *ResultTextAccess::create(const QString &, QObject *object)
{
    auto *box = qobject_cast<ResultTextBox *>(object);
    return box ? new ResultTextAccess(box) : nullptr;
}

void *ResultTextAccess::interface_cast(QAccessible::InterfaceType type)
{
    if (type == QAccessible::TextInterface)
        return static_cast<QAccessibleTextInterface *>(this);
    return QAccessibleWidget::interface_cast(type);
}

QAccessible::State ResultTextAccess::state() const
{
    QAccessible::State state = QAccessibleWidget::state();
    state.readOnly = true;
    state.multiLine = true;
    return state;
}

QString ResultTextAccess::text(QAccessible::Text kind) const
{
    return kind == QAccessible::Value ? beginning() : QAccessibleWidget::text(kind);
}

void ResultTextAccess::selection(int, int *start, int *end) const
{
    *start = *end = 0;
}

QString ResultTextAccess::text(int start, int end) const
{
    return beginning().mid(start, end - start);
}

int ResultTextAccess::characterCount() const
{
    return static_cast<int>(beginning().size());
}

void ResultTextAccess::scrollToSubstring(int start, int)
{
    m_box.ensureLineVisible(static_cast<int>(beginning().left(start).count(u'\n')));
}

QString ResultTextAccess::attributes(int, int *start, int *end) const
{
    *start = 0;
    *end = characterCount();
    return {};
}

QString ResultTextAccess::beginning() const
{
    const int bytes = static_cast<int>(std::min(m_box.byteCount(), mostCharacters));
    QString text = m_box.text(0, bytes);
    // The cut may have hit the middle of a character.
    if (bytes == mostCharacters)
        text.chop(2);
    return text;
}
