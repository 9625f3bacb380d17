#include "core/session/modules.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QPluginLoader>

QObject *loadModule(const QString &name, QString &why)
{
    const QString folder = QCoreApplication::applicationDirPath();
    // Beside the program, where it is installed, and beside the program for the tests of a build.
    for (const char *place : {"", "/../lib/tarnwell", "/../bin"}) {
        const QString file = folder + QLatin1String(place) + u'/' + name + QStringLiteral(".so");
        if (!QFileInfo::exists(file))
            continue;
        QPluginLoader loader(file); // the module stays when this goes
        if (QObject *module = loader.instance())
            return module;
        why = loader.errorString();
    }
    if (why.isEmpty())
        why = QStringLiteral("モジュール %1 がプログラムのフォルダーにありません。").arg(name);
    return nullptr;
}
