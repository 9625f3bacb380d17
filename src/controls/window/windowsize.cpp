#include "controls/window/windowsize.h"

#include "core/session/profilefile.h"
#include "core/session/wholefile.h"

#include <QApplication>
#include <QEvent>
#include <QScreen>
#include <QSplitter>
#include <QWidget>

#include <algorithm>

namespace {

const QString section = QStringLiteral("Window");
const QString maximized = QStringLiteral("maximized");

// On the screen, or what a window that has been shown cannot do without.
QSize room(const QWidget &window)
{
    return window.screen()->availableSize().expandedTo(window.minimumSize());
}

QString asText(QSize size)
{
    return QStringLiteral("%1x%2").arg(size.width()).arg(size.height());
}

const char *const moved = "movedByUser";
constexpr int largestPart = 10000;
constexpr int leastSide = 100;

QString splitterKey(const QString &key, const QSplitter &splitter)
{
    return key + u'.' + splitter.objectName();
}

class ScreenFit : public QObject {
public:
    using QObject::QObject;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Show && !event->spontaneous() && watched->isWidgetType())
            fit(*static_cast<QWidget *>(watched));
        return false;
    }

private:
    static void fit(QWidget &widget)
    {
        const bool isDialog = widget.windowType() == Qt::Dialog;
        if (!isDialog && widget.windowType() != Qt::Window)
            return;
        constexpr QSize frame(16, 48); // with the title
        const QSize room = widget.screen()->availableSize(), framed = room - frame;
        // Others are as large as the user left them.
        if (widget.size().boundedTo(isDialog ? framed : room) != widget.size())
            widget.resize(widget.size().boundedTo(framed));
    }
};

} // namespace

void keepWindowsOnScreen()
{
    qApp->installEventFilter(new ScreenFit(qApp));
}

void restoreSize(QWidget &window, const QString &settingsFile, const QString &key, QSize standard)
{
    const QString kept = ProfileFile(settingsFile).value(section, key);
    // No regular expression: the first of a process takes half a megabyte, and this is part of its start.
    const QStringList sides = kept.split(u'x');
    const QSize size(sides.value(0).toInt(), sides.value(1).toInt());
    const bool isUsable = std::min(size.width(), size.height()) >= leastSide;
    window.resize((isUsable ? size : standard).boundedTo(room(window)));
    if (kept == maximized)
        window.setWindowState(Qt::WindowMaximized);
}

void keepSize(const QWidget &window, const QString &settingsFile, const QString &key, QSize standard)
{
    const FileLock lock(settingsFile);
    ProfileFile file(settingsFile);
    const QString before = file.value(section, key);
    const QString now = window.isMaximized() ? maximized : asText(window.size());
    const QString untouched = asText(standard.boundedTo(room(window)));
    if (now == before || (before.isEmpty() && now == untouched))
        return;
    file.setValue(section, key, now);
    file.save();
}

void restoreSplitters(QWidget &window, const QString &settingsFile, const QString &key)
{
    const ProfileFile file(settingsFile);
    for (QSplitter *splitter : window.findChildren<QSplitter *>()) {
        if (splitter->objectName().isEmpty())
            continue;
        QList<int> sizes;
        for (const QString &size :
             file.value(section, splitterKey(key, *splitter)).split(u',', Qt::SkipEmptyParts))
            sizes << std::clamp(size.toInt(), 0, largestPart);
        if (sizes.size() == splitter->count())
            splitter->setSizes(sizes);
        QObject::connect(splitter, &QSplitter::splitterMoved, splitter,
                         [splitter] { splitter->setProperty(moved, true); });
    }
}

void keepSplitters(const QWidget &window, const QString &settingsFile, const QString &key)
{
    const FileLock lock(settingsFile);
    ProfileFile file(settingsFile);
    bool isChanged = false;
    for (const QSplitter *splitter : window.findChildren<QSplitter *>()) {
        if (!splitter->property(moved).toBool())
            continue;
        QStringList sizes;
        for (const int size : splitter->sizes())
            sizes << QString::number(size);
        file.setValue(section, splitterKey(key, *splitter), sizes.join(u','));
        isChanged = true;
    }
    if (isChanged)
        file.save();
}
