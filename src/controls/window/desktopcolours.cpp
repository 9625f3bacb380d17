#include "controls/window/desktopcolours.h"

#include <QApplication>
#include <QEvent>
#include <QIconEngine>
#include <QPainter>
#include <QProxyStyle>
#include <QStyleOption>

namespace {

constexpr int leastDifference = 60; // in lightness, 0 to 255

// Qt 6.4 on KDE gives hints no colour of their own but black, on whatever background.
void makeHintsReadable()
{
    const QPalette palette = QApplication::palette();
    const QColor hint = palette.color(QPalette::PlaceholderText);
    const QColor base = palette.color(QPalette::Base);
    const QColor shown = mixed(hint, base, hint.alphaF());
    if (qAbs(shown.lightness() - base.lightness()) >= leastDifference)
        return;
    QPalette readable; // of the one colour: the others go on following the desktop
    readable.setColor(QPalette::PlaceholderText, mixed(palette.color(QPalette::Text), base, 0.6));
    QApplication::setPalette(readable);
}

class PaletteWatch : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (watched == QApplication::instance() && event->type() == QEvent::ApplicationPaletteChange)
            makeHintsReadable();
        return false;
    }
};

// A standard icon that is read when it is painted.
class LateIcon : public QIconEngine {
public:
    explicit LateIcon(QStyle::StandardPixmap name)
        : m_name(name)
    {
    }
    QIconEngine *clone() const override { return new LateIcon(m_name); }
    void paint(QPainter *painter, const QRect &place, QIcon::Mode mode, QIcon::State state) override
    {
        icon().paint(painter, place, Qt::AlignCenter, mode, state);
    }
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        return icon().pixmap(size, mode, state);
    }

private:
    QIcon icon() const { return QCommonStyle().standardIcon(m_name); }

    QStyle::StandardPixmap m_name;
};

class ProgramStyle : public QProxyStyle {
public:
    using QProxyStyle::QProxyStyle;

    // Every menu bar asks for the arrow of menus that it has no room for, and the first picture of a process
    // loads the readers of all kinds of pictures.
    QIcon standardIcon(StandardPixmap name, const QStyleOption *option, const QWidget *widget) const override
    {
        return name == SP_ToolBarHorizontalExtensionButton ? QIcon(new LateIcon(name))
                                                           : QProxyStyle::standardIcon(name, option, widget);
    }

    // Fusion frames its boxes in a colour darker than the window, which on a dark window is none.
    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override
    {
        QProxyStyle::drawPrimitive(element, option, painter, widget);
        const bool isRound = element == PE_IndicatorRadioButton;
        const QColor window = option->palette.color(QPalette::Window);
        if ((!isRound && element != PE_IndicatorCheckBox) || window.lightness() >= 128)
            return;
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing, isRound);
        painter->setPen(mixed(option->palette.color(QPalette::WindowText), window, 0.5));
        const QRect frame = option->rect.adjusted(0, 0, -1, -1);
        isRound ? painter->drawEllipse(frame) : painter->drawRect(frame);
        painter->restore();
    }
};

} // namespace

QColor mixed(const QColor &over, const QColor &under, double part)
{
    const auto channel = [part](int a, int b) { return static_cast<int>(a * part + b * (1 - part)); };
    return {channel(over.red(), under.red()), channel(over.green(), under.green()),
            channel(over.blue(), under.blue())};
}

void applyDesktopColours()
{
    if (QApplication::style()->name() == u"fusion")
        QApplication::setStyle(new ProgramStyle(QStringLiteral("fusion")));
    QApplication::instance()->installEventFilter(new PaletteWatch(QApplication::instance()));
    makeHintsReadable();
}
