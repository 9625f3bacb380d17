#include "browser/programstyle.h"

#include "controls/window/desktopcolours.h"
#include "controls/window/windowsize.h"

#include <QApplication>
#include <QIcon>
#include <QLibraryInfo>
#include <QTimer>
#include <QTranslator>

void applyProgramStyle()
{
    applyDesktopColours();
    keepWindowsOnScreen();
    // Decoding its pictures is a tenth of the start: the window stands first.
    QTimer::singleShot(150, qApp, [] {
        QIcon icon;
        for (const int size : {16, 32, 64, 256})
            icon.addFile(QStringLiteral(":/icons/%1.png").arg(size));
        QApplication::setWindowIcon(icon);
    });
    auto *japanese = new QTranslator(QApplication::instance());
    if (japanese->load(QStringLiteral("qtbase_ja"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(japanese);
}
