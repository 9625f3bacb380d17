#include "browser/frmTarnwell.h"
#include "browser/programstyle.h"
#include "controls/window/windowpump.h"
#include "core/driver/connect.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tarnwell"));
    QApplication::setApplicationVersion(QStringLiteral(TARNWELL_VERSION));
    applyProgramStyle();

    WindowPump pump;
    Session session;
    session.programFolder = QApplication::applicationDirPath();
    session.connectBy(createConnection, pump);
    frmTarnwell window(session);
    window.show();
    return QApplication::exec();
}
