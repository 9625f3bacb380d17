#include "core/command/undolog.h"
#include "core/session/wholefile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

// The file of an UndoLog: JSON, for the owner alone, beside the settings.

namespace {

// A member that stands under its own name in the file; written when it is not as it is at first.
template <class Object>
struct Member {
    const char *name;
    QString Object::*text = nullptr;
    bool Object::*flag = nullptr;
    Question Object::*question = nullptr;
    int Object::*number = nullptr;
};

const Member<WayBack> wayBackMembers[] = {
    {"statement", &WayBack::statement},
    {"text", &WayBack::text},
    {"show", &WayBack::show},
    {"drop", &WayBack::drop},
    {"otherwise", &WayBack::otherwise},
    {"remark", &WayBack::remark},
    {"lost", &WayBack::lost},
    {"notSent", &WayBack::notSent},
    {"isAlwaysAsked", nullptr, &WayBack::isAlwaysAsked},
    {"isForDoubt", nullptr, &WayBack::isForDoubt},
    {"when", nullptr, nullptr, &WayBack::when},
    {"needs", nullptr, nullptr, &WayBack::needs},
    {"nothingThere", nullptr, nullptr, nullptr, &WayBack::nothingThere}};

const Member<Step> stepMembers[] = {{"statement", &Step::statement},
                                    {"untilUndone", &Step::untilUndone},
                                    {"inDoubt", &Step::inDoubt},
                                    {"notUndone", &Step::notUndone},
                                    {"lost", &Step::lost},
                                    {"onceDone", &Step::onceDone},
                                    {"isOfSession", nullptr, &Step::isOfSession},
                                    {"completes", nullptr, &Step::completes},
                                    {"isRepeated", nullptr, &Step::isRepeated},
                                    {"isDone", nullptr, nullptr, &Step::isDone},
                                    {"holds", nullptr, nullptr, &Step::holds},
                                    {"nothingLeft", nullptr, nullptr, nullptr, &Step::nothingLeft}};

template <class Object>
QJsonObject written(const Object &object, std::span<const Member<Object>> members)
{
    QJsonObject json;
    for (const Member<Object> &member : members) {
        const QString name = QString::fromLatin1(member.name);
        if (member.text && !(object.*member.text).isEmpty())
            json[name] = object.*member.text;
        if (member.flag && object.*member.flag)
            json[name] = true;
        if (member.question && !(object.*member.question).statement.isEmpty())
            json[name] = QJsonArray{(object.*member.question).statement, (object.*member.question).wanted};
        if (member.number && object.*member.number != 0)
            json[name] = object.*member.number;
    }
    QJsonArray with;
    for (const SessionVariable &variable : object.with)
        with << QJsonArray{variable.name, variable.value};
    if (!with.isEmpty())
        json[QStringLiteral("with")] = with;
    return json;
}

template <class Object>
Object read(const QJsonObject &json, std::span<const Member<Object>> members)
{
    Object object;
    for (const Member<Object> &member : members) {
        const QJsonValue value = json[QString::fromLatin1(member.name)];
        if (member.text)
            object.*member.text = value.toString();
        if (member.flag)
            object.*member.flag = value.toBool();
        if (member.question && value.isArray())
            object.*member.question = {value[0].toString(), value[1].toBool()};
        if (member.number)
            object.*member.number = value.toInt();
    }
    for (const QJsonValue &variable : json[QStringLiteral("with")].toArray())
        object.with.push_back({variable[0].toString(), variable[1].toString()});
    return object;
}

QJsonObject written(const Step &step)
{
    QJsonObject json = written<Step>(step, stepMembers);
    QJsonArray back;
    for (const WayBack &each : step.back)
        back << written<WayBack>(each, wayBackMembers);
    json[QStringLiteral("back")] = back;
    return json;
}

Step readStep(const QJsonObject &json)
{
    Step step = read<Step>(json, stepMembers);
    for (const QJsonValue &each : json[QStringLiteral("back")].toArray())
        step.back.push_back(read<WayBack>(each.toObject(), wayBackMembers));
    return step;
}

} // namespace

QByteArray UndoLog::bytes() const
{
    QJsonArray variables, steps;
    for (const SessionVariables::Entry &entry : m_variables.entries())
        variables << QJsonArray{entry.name, entry.now};
    for (const Noted &noted : m_steps) {
        QJsonObject step = written(noted.step);
        step[QStringLiteral("state")] = static_cast<int>(noted.state);
        steps << step;
    }
    return QJsonDocument({{QStringLiteral("what"), m_what},
                          {QStringLiteral("begun"), m_begun.toString(Qt::ISODate)},
                          {QStringLiteral("server"), m_place.server},
                          {QStringLiteral("cluster"), m_place.cluster.name},
                          {QStringLiteral("nextBack"), m_nextBack},
                          {QStringLiteral("database"),
                           m_pendingDatabase.isEmpty() ? m_variables.database() : m_pendingDatabase},
                          {QStringLiteral("variables"), variables},
                          {QStringLiteral("steps"), steps}})
        .toJson();
}

void UndoLog::load(const QByteArray &bytes)
{
    const QJsonObject json = QJsonDocument::fromJson(bytes).object();
    m_what = json[QStringLiteral("what")].toString();
    m_begun = QDateTime::fromString(json[QStringLiteral("begun")].toString(), Qt::ISODate);
    m_place = {json[QStringLiteral("server")].toString(), {json[QStringLiteral("cluster")].toString()}};
    m_nextBack = json[QStringLiteral("nextBack")].toInt(-1);
    m_pendingDatabase = json[QStringLiteral("database")].toString();
    std::vector<SessionVariables::Entry> entries;
    for (const QJsonValue &variable : json[QStringLiteral("variables")].toArray())
        entries.push_back({variable[0].toString(), {}, variable[1].toString()});
    m_variables.setEntries(std::move(entries));
    for (const QJsonValue &step : json[QStringLiteral("steps")].toArray())
        m_steps.push_back(
            {readStep(step.toObject()), static_cast<State>(step[QStringLiteral("state")].toInt())});
    if (m_what.isEmpty() || m_steps.empty())
        throw Failure(QStringLiteral("ファイル「%1」は変更の記録ではありません。").arg(m_path));
    // That session has ended.
    if (m_steps.back().step.isOfSession)
        m_nextBack = -1;
    std::erase_if(m_steps, [](const Noted &noted) { return noted.step.isOfSession; });
}

UndoLog::UndoLog(Session &session, const UndoFile &file)
    : m_session(session)
    , m_path(file.path)
    , m_lock(std::make_unique<QLockFile>(m_path + QStringLiteral(".lock")))
{
    m_lock->setStaleLockTime(0);
    QFile bytes(m_path);
    if (!m_lock->tryLock(0) || !bytes.open(QIODevice::ReadOnly))
        throw Failure(QStringLiteral("ファイル「%1」は使用中です。").arg(m_path));
    load(bytes.readAll());
}

// Gives the system's own words when it failed, else an empty text.
QString UndoLog::save()
{
    const QString &folder = m_session.settingsFolder;
    if (m_path.isEmpty() && folder.isEmpty())
        return {};
    if (m_path.isEmpty()) {
        const QString name = QStringLiteral("Tarnwell_%1_%2")
                                 .arg(m_begun.toString(QStringLiteral("yyyyMMddHHmmsszzz")))
                                 .arg(QCoreApplication::applicationPid());
        m_path = QDir(folder).filePath(name + UndoFile::suffix());
        m_lock = std::make_unique<QLockFile>(m_path + QStringLiteral(".lock"));
        m_lock->setStaleLockTime(0);
        m_lock->tryLock(0);
    }
    const QString failure = saveWholeFile(m_path, bytes(), Readers::OwnerOnly);
    return failure.isEmpty() ? failure
                             : QStringLiteral("ファイル「%1」を作成できません。\r\n%2").arg(m_path, failure);
}
