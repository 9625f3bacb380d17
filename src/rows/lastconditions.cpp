#include "rows/lastconditions.h"

#include "core/session/wholefile.h"
#include "core/sql/passwords.h"
#include "rows/rowhistory.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

namespace {

constexpr qsizetype mostTexts = 12, mostTables = 300, longestText = 2000;
const QString conditions = QStringLiteral("where"), orders = QStringLiteral("order"),
              lastUse = QStringLiteral("used");

QStringList textsOf(const QJsonObject &table, const QString &name)
{
    return table[name].toVariant().toStringList();
}

bool isKept(const QString &text)
{
    return !text.isEmpty() && text.size() <= longestText && !holdsPassword(text) &&
           !text.contains(u"passw", Qt::CaseInsensitive);
}

// False: it was the last one already.
bool putFirst(QJsonObject &table, const QString &name, const QString &text)
{
    QStringList texts = textsOf(table, name);
    if (!isKept(text) || texts.value(0) == text)
        return false;
    texts.removeAll(text);
    texts.prepend(text);
    table[name] = QJsonArray::fromStringList(texts.mid(0, mostTexts));
    return true;
}

void dropOldest(QJsonObject &tables)
{
    while (tables.size() > mostTables) {
        auto oldest = tables.begin();
        for (auto each = tables.begin(); each != tables.end(); ++each)
            if (each.value().toObject()[lastUse].toString() < oldest.value().toObject()[lastUse].toString())
                oldest = each;
        tables.erase(oldest);
    }
}

} // namespace

QString LastConditions::path() const
{
    return m_session.settingsFolder.isEmpty()
               ? QString()
               : QDir(m_session.settingsFolder).filePath(QStringLiteral("rows-conditions.json"));
}

QString LastConditions::keyOf(const QString &database, const QString &table) const
{
    return fileStemOf(m_session) + u'/' + database + u'.' + table;
}

void LastConditions::read()
{
    QFile file(path());
    if (!file.fileName().isEmpty() && whyLeftAlone(file.fileName()).isEmpty() &&
        file.open(QIODevice::ReadOnly))
        m_tables = QJsonDocument::fromJson(file.readAll()).object();
}

LastConditions::Texts LastConditions::of(const QString &database, const QString &table)
{
    read();
    const QJsonObject known = m_tables[keyOf(database, table)].toObject();
    return {textsOf(known, conditions), textsOf(known, orders)};
}

void LastConditions::add(const QString &database, const QString &table, const QString &condition,
                         const QString &order)
{
    if (!isKept(condition) && !isKept(order))
        return;
    std::optional<FileLock> lock;
    if (!path().isEmpty())
        lock.emplace(path());
    read();
    QJsonObject known = m_tables[keyOf(database, table)].toObject();
    const bool isNewCondition = putFirst(known, conditions, condition);
    if (!putFirst(known, orders, order) && !isNewCondition)
        return;
    known[lastUse] = QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
    m_tables[keyOf(database, table)] = known;
    dropOldest(m_tables);
    // One that cannot be written costs the user a line to type again.
    if (lock)
        saveWholeFile(path(), QJsonDocument(m_tables).toJson(), Readers::OwnerOnly);
}
