#include "controls/window/desktopcolours.h"

#include <QApplication>
#include <QEvent>
#include <QGroupBox>
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

// As Fusion's picture of it, to be seen on every start: the first picture of a process loads the readers of
// all kinds of pictures.
void drawGroupFrame(QPainter &painter, const QRect &frame)
{
    const QRect inner = frame.adjusted(1, 1, -1, -1);
    const auto drawEdges = [&painter](const QRect &rect, const QColor &colour) {
        painter.fillRect(rect.left() + 1, rect.top(), rect.width() - 2, 1, colour);
        painter.fillRect(rect.left() + 1, rect.bottom(), rect.width() - 2, 1, colour);
        painter.fillRect(rect.left(), rect.top() + 1, 1, rect.height() - 2, colour);
        painter.fillRect(rect.right(), rect.top() + 1, 1, rect.height() - 2, colour);
    };
    const auto drawCorners = [&painter](const QRect &rect, const QColor &colour) {
        for (const QPoint &corner : {rect.topLeft(), rect.topRight(), rect.bottomLeft(), rect.bottomRight()})
            painter.fillRect(QRect(corner, QSize(1, 1)), colour);
    };
    drawEdges(frame, QColor(0x75, 0x75, 0x75, 0x32));
    drawCorners(frame, QColor(0x27, 0x27, 0x27, 0x0d));
    drawEdges(inner, QColor(0, 0, 0, 0x07));
    drawCorners(inner, QColor(0x5a, 0x5a, 0x5a, 0x1f));
    painter.fillRect(inner.adjusted(1, 1, -1, -1), QColor(0, 0, 0, 0x03));
}

class ProgramStyle : public QProxyStyle {
public:
    using QProxyStyle::QProxyStyle;

    // Every menu bar asks for the arrow of menus that it has no room for; it is a picture, too.
    QIcon standardIcon(StandardPixmap name, const QStyleOption *option, const QWidget *widget) const override
    {
        return name == SP_ToolBarHorizontalExtensionButton ? QIcon(new LateIcon(name))
                                                           : QProxyStyle::standardIcon(name, option, widget);
    }

    // Fusion frames its boxes in a colour darker than the window, which on a dark window is none.
    void drawPrimitive(PrimitiveElement element, const QStyleOption *option, QPainter *painter,
                       const QWidget *widget) const override
    {
        if (const auto *group = qobject_cast<const QGroupBox *>(widget);
            group && element == PE_FrameGroupBox) {
            drawGroupFrame(*painter, group->contentsRect().adjusted(-2, -2, 3, 3)); // Fusion's room around it
            return;
        }
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
