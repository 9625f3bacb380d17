#include "console/statementbox.h"

#include "core/codepage.h"

#include <QDropEvent>
#include <QFile>
#include <QMimeData>
#include <QUrl>

namespace {

QString firstFile(const QMimeData *data)
{
    for (const QUrl &url : data->urls())
        if (url.isLocalFile())
            return url.toLocalFile();
    return {};
}

void accept(QDropEvent *event)
{
    const bool isTaken = event->mimeData()->hasText() || !firstFile(event->mimeData()).isEmpty();
    event->setDropAction(Qt::CopyAction); // whatever its source offers, it must not be moved away
    event->setAccepted(isTaken && (event->possibleActions() & Qt::CopyAction));
}

} // namespace

void StatementBox::dragEnterEvent(QDragEnterEvent *event)
{
    accept(event);
}

void StatementBox::dragMoveEvent(QDragMoveEvent *event)
{
    accept(event);
}

void StatementBox::dropEvent(QDropEvent *event)
{
    accept(event);
    if (!event->isAccepted())
        return;
    if (const QString path = firstFile(event->mimeData()); !path.isEmpty())
        load(path);
    else
        setContents(event->mimeData()->text());
}

void StatementBox::load(const QString &path)
{
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        const QByteArray bytes = file.readAll();
        if (file.error() == QFileDevice::NoError) {
            setContents(fromCodePage(bytes));
            return;
        }
    }
    Q_EMIT refused(path + QStringLiteral(": ") + file.errorString());
}
