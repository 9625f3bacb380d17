#include "controls/text/fontscaling.h"

#include "controls/text/scintilla.h"

#include <QEvent>

#include <algorithm>
#include <cmath>

namespace {

constexpr double smallest = 0.6;
constexpr double largest = 3;

} // namespace

FontScaling::FontScaling(QWidget *window)
    : QObject(window)
    , m_window(window)
{
    window->installEventFilter(this);
}

void FontScaling::setNames(const QStringList &names)
{
    for (const QString &name : std::as_const(m_names))
        if (auto *control = m_window->findChild<QWidget *>(name))
            scale(*control, 1);
    m_names = names;
    apply();
}

bool FontScaling::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show && m_baseSize.isEmpty())
        m_baseSize = m_window->size();
    if (event->type() == QEvent::Resize && m_window->isVisible())
        apply();
    return QObject::eventFilter(watched, event);
}

void FontScaling::apply()
{
    if (m_baseSize.isEmpty())
        return;
    const double factor = std::min(double(m_window->width()) / m_baseSize.width(),
                                   double(m_window->height()) / m_baseSize.height());
    for (const QString &name : std::as_const(m_names))
        if (auto *control = m_window->findChild<QWidget *>(name))
            scale(*control, std::clamp(factor, smallest, largest));
}

void FontScaling::scale(QWidget &control, double factor)
{
    // A text box draws with the fonts of its styles; zooming adds points to all of them.
    if (auto *box = qobject_cast<QsciScintilla *>(&control)) {
        constexpr double usualPoints = 10;
        box->zoomTo(static_cast<int>(std::lround(usualPoints * (factor - 1))));
        return;
    }
    const QString name = control.objectName();
    if (!m_basePoints.contains(name))
        m_basePoints[name] = control.font().pointSizeF();
    QFont font = control.font();
    font.setPointSizeF(m_basePoints[name] * factor);
    control.setFont(font);
}
