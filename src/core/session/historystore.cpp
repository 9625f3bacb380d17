#include "core/session/historystore.h"

#include "core/session/session.h"
#include "core/session/wholefile.h"
#include "core/sql/passwords.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPluginLoader>

namespace {

HistoryModule *loadModule(QString &why)
{
    const QString folder = QCoreApplication::applicationDirPath();
    // Beside the program, where it is installed, and beside the program for the tests of a build.
    for (const char *place : {"", "/../lib/tarnwell", "/../bin"}) {
        const QString file = folder + QLatin1String(place) + QStringLiteral("/tarnwell_history.so");
        if (!QFileInfo::exists(file))
            continue;
        QPluginLoader loader(file); // the module stays when this goes
        if (auto *module = qobject_cast<HistoryModule *>(loader.instance()))
            return module;
        why = loader.errorString();
    }
    if (why.isEmpty())
        why = QStringLiteral("モジュール tarnwell_history がプログラムのフォルダーにありません。");
    return nullptr;
}

void takeOver(const QString &json, HistoryStore &store)
{
    QFile file(json);
    if (!whyLeftAlone(json).isEmpty() || !file.open(QIODevice::ReadOnly))
        return;
    const QDateTime time = QFileInfo(json).lastModified();
    for (const QJsonValue &value : QJsonDocument::fromJson(file.readAll()).array())
        if (const QString text = value.toString(); !text.isEmpty() && !holdsPassword(text)) {
            HistoryEntry entry;
            entry.time = time;
            entry.statement = text;
            store.add(entry);
        }
}

} // namespace

std::unique_ptr<HistoryStore> openHistoryStore(const Session &session, QString &why, int most)
{
    HistoryModule *module = loadModule(why);
    if (!module)
        return nullptr;
    const QString folder = session.settingsFolder.isEmpty() ? session.programFolder : session.settingsFolder;
    const QString path = folder + QStringLiteral("/history.sqlite");
    const bool isNew = !QFileInfo::exists(path);
    std::unique_ptr<HistoryStore> store = module->open(path, most, why);
    if (store && isNew)
        takeOver(folder + QStringLiteral("/history.json"), *store);
    return store;
}
