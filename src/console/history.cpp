#include "console/history.h"

#include "core/session/wholefile.h"
#include "core/sql/passwords.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <numeric>

namespace {

constexpr qsizetype mostStatements = 200;
constexpr qsizetype longestStatement = 20000; // characters; longer ones come from files
constexpr qsizetype mostCharacters = 100000;  // of all together

qsizetype characterCount(const QStringList &texts)
{
    return std::accumulate(texts.begin(), texts.end(), qsizetype(0),
                           [](qsizetype sum, const QString &text) { return sum + text.size(); });
}

QString folderOf(const Session &session)
{
    return session.settingsFolder.isEmpty() ? session.programFolder : session.settingsFolder;
}

} // namespace

QString historyFile(const Session &session)
{
    return folderOf(session) + QStringLiteral("/history.json");
}

QString consoleDrafts(const Session &session)
{
    return folderOf(session) + QStringLiteral("/console");
}

History::History(QString path)
    : m_path(std::move(path))
    , m_statements(read())
    , m_place(m_statements.size())
{
    withdrawFromOthers(m_path);
}

QStringList History::read() const
{
    QStringList statements;
    QFile file(m_path);
    if (whyLeftAlone(m_path).isEmpty() && file.open(QIODevice::ReadOnly))
        for (const QJsonValue &value : QJsonDocument::fromJson(file.readAll()).array())
            statements << value.toString();
    return statements;
}

bool History::add(const QString &statement)
{
    const bool isTaken = !holdsPassword(statement) && statement.size() <= longestStatement;
    if (isTaken) {
        const FileLock lock(m_path);
        // What another program of this folder took in meanwhile stays.
        const QStringList kept = read();
        m_statements.removeIf([&](const QString &own) { return kept.contains(own); });
        m_statements << kept;
        m_statements.removeAll(statement);
        m_statements << statement;
        while (m_statements.size() > mostStatements || characterCount(m_statements) > mostCharacters)
            m_statements.removeFirst();
        save();
    }
    m_place = m_statements.size();
    return isTaken;
}

QString History::older(const QString &draft)
{
    if (m_place == m_statements.size())
        m_draft = draft;
    // What was just run still stands in the box: the step goes past it.
    if (m_place > 0 && m_place == m_statements.size() && m_statements.last() == draft)
        --m_place;
    return m_place > 0 ? m_statements[--m_place] : QString();
}

QString History::newer()
{
    if (m_place >= m_statements.size())
        return {};
    return ++m_place < m_statements.size() ? m_statements[m_place] : m_draft;
}

void History::save() const
{
    // Statements matter less than the work at hand: where they cannot be kept, nothing is said.
    if (!whyLeftAlone(m_path).isEmpty())
        return;
    saveWholeFile(m_path, QJsonDocument(QJsonArray::fromStringList(m_statements)).toJson(),
                  Readers::OwnerOnly);
}
