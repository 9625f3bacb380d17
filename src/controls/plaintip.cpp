#include "controls/plaintip.h"

#include "core/signs.h"

#include <QTextDocument>

QString plainTip(const QString &text)
{
    const QString shown = visibleText(text);
    if (!Qt::mightBeRichText(shown))
        return shown;
    return QStringLiteral("<p style='white-space:pre-wrap'>") + shown.toHtmlEscaped() +
           QStringLiteral("</p>");
}
