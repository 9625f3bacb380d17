#include "controls/text/statementbox.h"

#include "core/session/filetext.h"

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

void StatementBox::replaceContents(const QString &text)
{
    selectAll();
    replaceSelectedText(text);
    setCursorPosition(0, 0);
}

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
        replaceContents(event->mimeData()->text());
}

void StatementBox::load(const QString &path)
{
    QFile file(path);
    if (file.open(QIODevice::ReadOnly)) {
        const auto [text, encoding, isDamaged] = fileText(file.readAll());
        // The editor would end the statement there without a word.
        if (text.contains(QChar::Null)) {
            Q_EMIT refused(path + QStringLiteral(": NUL文字を含むため、SQL文として読み込めません。"));
            return;
        }
        if (file.error() == QFileDevice::NoError) {
            replaceContents(text);
            if (isDamaged)
                Q_EMIT refused(path + QStringLiteral(": 読めない文字があります。"));
            return;
        }
    }
    Q_EMIT refused(path + QStringLiteral(": ") + file.errorString());
}
