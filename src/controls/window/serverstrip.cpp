#include "controls/window/serverstrip.h"

#include "controls/window/building.h"
#include "core/session/session.h"
#include "core/sql/listitem.h"

#include <QApplication>
#include <QEvent>
#include <QFileDialog>
#include <QLabel>
#include <QLayout>
#include <QMessageBox>

namespace {

const char *const ownServer = "hasOwnServer";
const QString stripName = QStringLiteral("serverStrip");

// The warning first: a long name may be cut off.
QString captionOf(const ConnectionProfile &profile)
{
    QStringList marks;
    if (profile.environment != Environment::None)
        marks << environmentText(profile.environment);
    if (profile.isReadOnly)
        marks << QStringLiteral("読み取り専用");
    return (marks.isEmpty() ? QString() : QStringLiteral("［%1］").arg(marks.join(u'・'))) +
           visibleName(profile.name);
}

QColor colourOf(const ConnectionProfile &profile)
{
    constexpr QRgb production = 0xffc62828;
    if (const QColor own(profile.colour); own.isValid())
        return own;
    return profile.environment == Environment::Production ? QColor(production) : QColor();
}

// Lies above the window's contents, which make room for it.
class ServerStrip : public QLabel {
public:
    explicit ServerStrip(QWidget &window)
        : QLabel(&window)
    {
        setObjectName(stripName);
        setTextFormat(Qt::PlainText);
        setAlignment(Qt::AlignCenter);
        setAutoFillBackground(true);
        setAccessibleName(QStringLiteral("接続先"));
        window.installEventFilter(this);
    }

    void showOf(const ConnectionProfile &profile)
    {
        const QColor colour = colourOf(profile);
        QPalette colours;
        if (colour.isValid()) {
            colours.setColor(QPalette::Window, colour);
            colours.setColor(QPalette::WindowText, qGray(colour.rgb()) > 140 ? Qt::black : Qt::white);
        } else {
            colours.setColor(QPalette::Window, colours.color(QPalette::Mid));
        }
        setPalette(colours);
        m_caption = captionOf(profile);
        setText(m_caption);
        setToolTip(plainTip(m_caption));
        setVisible(profile.isSaved());
        makeRoom(profile.isSaved() ? sizeHint().height() : 0);
        addToCaption(profile.isSaved() ? QStringLiteral(" - ") + m_caption : QString());
        place();
    }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Resize || event->type() == QEvent::LayoutRequest)
            place();
        else if (event->type() == QEvent::WindowTitleChange && !m_isChangingCaption)
            addToCaption(m_suffix);
        return false;
    }

private:
    void makeRoom(int height)
    {
        QMargins margins = window()->layout()->contentsMargins();
        margins.setTop(margins.top() - m_room + height);
        window()->layout()->setContentsMargins(margins);
        m_room = height;
    }
    void addToCaption(const QString &suffix)
    {
        m_isChangingCaption = true;
        QString caption = window()->windowTitle();
        if (!m_suffix.isEmpty() && caption.endsWith(m_suffix))
            caption.chop(m_suffix.size());
        m_suffix = suffix;
        window()->setWindowTitle(caption + suffix);
        m_isChangingCaption = false;
    }
    void place()
    {
        const QWidget *menuBar = window()->layout()->menuBar();
        setGeometry(0, menuBar ? menuBar->height() : 0, window()->width(), m_room);
        setText(fontMetrics().elidedText(m_caption, Qt::ElideMiddle, width() - 2 * fontMetrics().height()));
        raise();
    }

    int m_room = 0;
    QString m_caption, m_suffix;
    bool m_isChangingCaption = false;
};

void show(QWidget &window, const ConnectionProfile &profile)
{
    auto *strip =
        static_cast<ServerStrip *>(window.findChild<QLabel *>(stripName, Qt::FindDirectChildrenOnly));
    if (!strip && profile.isSaved())
        strip = new ServerStrip(window);
    if (strip)
        strip->showOf(profile);
}

// Boxes carry the caption of their window; some windows work on no server, or on all of them.
bool isOfServer(const QWidget &window)
{
    static const QStringList others{QStringLiteral("connectionsWindow"), QStringLiteral("passwordQuestion"),
                                    QStringLiteral("frmAbout"), QStringLiteral("frmTextEditer"),
                                    QStringLiteral("commandPalette")};
    const Qt::WindowType type = window.windowType();
    return window.isWindow() && (type == Qt::Window || type == Qt::Dialog) && window.layout() &&
           !window.property(ownServer).toBool() && !others.contains(window.objectName()) &&
           !qobject_cast<const QMessageBox *>(&window) && !qobject_cast<const QFileDialog *>(&window);
}

} // namespace

void showServer(QWidget &window, const ConnectionProfile &profile)
{
    window.setProperty(ownServer, true);
    show(window, profile);
}

ServerStrips::ServerStrips(const Session &session, QObject *parent)
    : QObject(parent)
    , m_session(session)
{
    qApp->installEventFilter(this);
}

void ServerStrips::update()
{
    const ConnectionProfile profile = m_session.gCn ? m_session.profile : ConnectionProfile();
    for (QWidget *window : QApplication::topLevelWidgets())
        if (isOfServer(*window))
            show(*window, profile);
}

bool ServerStrips::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show && watched->isWidgetType() && m_session.gCn)
        if (auto *window = static_cast<QWidget *>(watched); isOfServer(*window))
            show(*window, m_session.profile);
    return false;
}
