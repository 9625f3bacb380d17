#include "core/session/draft.h"

#include "core/session/wholefile.h"

#include <QDateTime>
#include <QDir>
#include <QJsonDocument>
#include <QUuid>

namespace {

// Locked by another program that lives; one that died left its lock behind, which counts as none.
std::unique_ptr<QLockFile> lockOf(const QString &path)
{
    auto lock = std::make_unique<QLockFile>(path + QStringLiteral(".lock"));
    lock->setStaleLockTime(0); // a window may stay open for days
    // Where the folder takes no lock at all, drafts are better opened twice than lost.
    const bool isOthers = !lock->tryLock(0) && lock->error() == QLockFile::LockFailedError;
    return isOthers ? nullptr : std::move(lock);
}

} // namespace

Draft::Draft(const QString &folder)
    // The time first: files in the order of their names are drafts in the order in which they were made.
    : m_path(folder + u'/' + QString::number(QDateTime::currentMSecsSinceEpoch()) + u'-' +
             QUuid::createUuid().toString(QUuid::Id128).left(8) + QStringLiteral(".json"))
{
}

Draft::Draft(QString path, std::unique_ptr<QLockFile> lock)
    : m_path(std::move(path))
    , m_lock(std::move(lock))
{
}

Draft::~Draft() = default;

QString Draft::save(const QJsonObject &contents)
{
    if (!m_lock) {
        if (!QDir().mkpath(QFileInfo(m_path).path()))
            return QFileInfo(m_path).path() + QStringLiteral(": 作れません。");
        m_lock = lockOf(m_path);
    }
    return saveWholeFile(m_path, QJsonDocument(contents).toJson(QJsonDocument::Compact), Readers::OwnerOnly);
}

void Draft::remove()
{
    QFile::remove(m_path);
    m_lock.reset();
}

bool Draft::read()
{
    QFile file(m_path);
    if (!QFileInfo(m_path).isFile() || !file.open(QIODevice::ReadOnly))
        return false;
    m_contents = QJsonDocument::fromJson(file.readAll()).object();
    return m_contents.contains("text");
}

std::vector<std::unique_ptr<Draft>> Draft::left(const QString &folder)
{
    removeLeftLocks(folder, QStringLiteral(".json"));
    std::vector<std::unique_ptr<Draft>> drafts;
    for (const QString &name : QDir(folder).entryList({"*.json"}, QDir::Files, QDir::Name)) {
        const QString path = folder + u'/' + name;
        std::unique_ptr<QLockFile> lock = lockOf(path);
        if (!lock)
            continue;
        std::unique_ptr<Draft> draft(new Draft(path, std::move(lock)));
        if (draft->read()) // else damaged: left alone
            drafts.push_back(std::move(draft));
    }
    return drafts;
}
