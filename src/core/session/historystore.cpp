#include "core/session/historystore.h"

#include "core/session/modules.h"
#include "core/session/session.h"
#include "core/session/wholefile.h"
#include "core/sql/passwords.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

namespace {

void takeOver(const QString &json, HistoryStore &store, const QString &justRun)
{
    QFile file(json);
    if (!whyLeftAlone(json).isEmpty() || !file.open(QIODevice::ReadOnly))
        return;
    const QDateTime time = QFileInfo(json).lastModified();
    for (const QJsonValue &value : QJsonDocument::fromJson(file.readAll()).array())
        if (const QString text = value.toString();
            !text.isEmpty() && text != justRun && !holdsPassword(text)) {
            HistoryEntry entry;
            entry.time = time;
            entry.statement = text;
            store.add(entry);
        }
}

} // namespace

std::unique_ptr<HistoryStore> openHistoryStore(const Session &session, QString &why, const QString &justRun,
                                               int most)
{
    auto *module = qobject_cast<HistoryModule *>(loadModule(QStringLiteral("tarnwell_history"), why));
    if (!module)
        return nullptr;
    const QString folder = session.settingsFolder.isEmpty() ? session.programFolder : session.settingsFolder;
    const QString path = folder + QStringLiteral("/history.sqlite");
    const bool isNew = !QFileInfo::exists(path);
    std::unique_ptr<HistoryStore> store = module->open(path, most, why);
    if (store && isNew)
        takeOver(folder + QStringLiteral("/history.json"), *store, justRun);
    return store;
}
