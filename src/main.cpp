#include "browser/frmTarnwell.h"
#include "browser/programstyle.h"
#include "connections/sshquestion.h"
#include "controls/window/windowpump.h"
#include "core/driver/connect.h"
#include "core/driver/sshtunnel.h"
#include "core/session/lastingconnection.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    // What Qt warns of would stand among the words of ssh, which the user reads.
    const bool answersSsh = qEnvironmentVariableIsSet("TARNWELL_ASKPASS");
    if (answersSsh)
        qputenv("QT_LOGGING_RULES", "*.warning=false");
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tarnwell"));
    QApplication::setApplicationVersion(QStringLiteral(TARNWELL_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("org.tarnwell.Tarnwell"));
    applyProgramStyle();

    if (answersSsh)
        return answerSsh();

    WindowPump pump;
    Session session;
    session.programFolder = QApplication::applicationDirPath();
    session.connectBy(lasting(tunnelled(createConnection, QApplication::applicationFilePath())), pump);
    frmTarnwell window(session);
    window.show();
    return QApplication::exec();
}
