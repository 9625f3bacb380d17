#include "browser/frmTarnwell.h"
#include "controls/desktopcolours.h"
#include "controls/windowpump.h"
#include "core/connect.h"

#include <QApplication>
#include <QIcon>
#include <QLibraryInfo>
#include <QTranslator>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tarnwell"));
    QApplication::setApplicationVersion(QStringLiteral(TARNWELL_VERSION));
    dressForDesktop();
    QIcon icon;
    for (const int size : {16, 32, 64, 256})
        icon.addFile(QStringLiteral(":/icons/%1.png").arg(size));
    QApplication::setWindowIcon(icon);
    // Qt's own boxes and menus speak Japanese where its translation is installed.
    QTranslator japanese;
    if (japanese.load(QStringLiteral("qtbase_ja"), QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QApplication::installTranslator(&japanese);

    WindowPump pump;
    Session session;
    session.programFolder = QApplication::applicationDirPath();
    session.makeConnection = logged([&pump](const QString &string) { return createConnection(string, pump); },
                                    session.statementLog);
    frmTarnwell window(session, pump);
    window.show();
    return QApplication::exec();
}
