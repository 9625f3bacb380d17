#include "about/systeminformation.h"

#include <QProcess>
#include <QStandardPaths>
#include <QStringList>

#include <vector>

namespace {

struct Tool {
    QString program;
    QStringList arguments;
};

std::vector<Tool> usualTools()
{
#if defined(Q_OS_WIN)
    return {{QStringLiteral("msinfo32"), {}}};
#elif defined(Q_OS_MACOS)
    return {{QStringLiteral("open"), {QStringLiteral("-a"), QStringLiteral("System Information")}}};
#else
    return {{QStringLiteral("kinfocenter"), {}},
            {QStringLiteral("hardinfo2"), {}},
            {QStringLiteral("hardinfo"), {}},
            {QStringLiteral("gnome-control-center"), {QStringLiteral("info-overview")}},
            {QStringLiteral("cinnamon-settings"), {QStringLiteral("info")}},
            {QStringLiteral("mate-system-monitor"), {QStringLiteral("--show-system-tab")}},
            {QStringLiteral("gnome-system-monitor"), {}}};
#endif
}

} // namespace

bool startSystemInformation()
{
    for (const Tool &tool : usualTools()) {
        const QString program = QStandardPaths::findExecutable(tool.program);
        if (!program.isEmpty())
            return QProcess::startDetached(program, tool.arguments);
    }
    return false;
}
