#include "rows/rowhistory.h"

#include "core/session/basconnection.h"
#include "core/session/connectionstring.h"
#include "core/session/wholefile.h"
#include "core/sql/statements.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QUuid>

namespace {

constexpr int daysKept = 30, daysShown = 7;
constexpr qsizetype mostSavingsShown = 100, mostStatementsKept = 200, longestStatement = 2000;

QJsonValue jsonOf(const RowValue &value)
{
    return value ? QJsonValue(QString::fromLatin1(value->toBase64())) : QJsonValue();
}

RowValue valueOf(const QJsonValue &json)
{
    return json.isString() ? RowValue(QByteArray::fromBase64(json.toString().toLatin1())) : RowValue();
}

QJsonObject jsonOf(const RowChange &change)
{
    QJsonArray before;
    for (const RowValue &value : change.before)
        before << jsonOf(value);
    QJsonObject values;
    for (const auto &[column, value] : change.values)
        values[QString::number(column)] = jsonOf(value);
    return {{"kind", static_cast<int>(change.kind)}, {"before", before}, {"values", values}};
}

RowChange changeOf(const QJsonObject &json)
{
    RowChange change;
    change.kind = static_cast<RowChange::Kind>(json["kind"].toInt());
    for (const QJsonValue &value : json["before"].toArray())
        change.before.push_back(valueOf(value));
    const QJsonObject values = json["values"].toObject();
    for (auto value = values.begin(); value != values.end(); ++value)
        change.values[value.key().toInt()] = valueOf(value.value());
    return change;
}

QByteArray lineOf(const RowSaving &saving)
{
    QJsonArray changes;
    for (const RowChange &change : saving.inverse)
        changes << jsonOf(change);
    const QJsonObject json{{"id", saving.id},
                           {"time", saving.time.toString(Qt::ISODate)},
                           {"database", saving.database},
                           {"table", saving.table},
                           {"what", saving.what},
                           {"timeZone", saving.timeZone},
                           {"columns", QJsonArray::fromStringList(saving.columns)},
                           {"changes", changes},
                           {"statements", QJsonArray::fromStringList(saving.statements)},
                           {"tooLarge", saving.isTooLarge},
                           {"undone", saving.isUndone}};
    return QJsonDocument(json).toJson(QJsonDocument::Compact) + '\n';
}

// Nothing of a line that was cut when the program or the machine ended.
std::optional<RowSaving> savingOfLine(const QByteArray &line)
{
    const QJsonObject json = QJsonDocument::fromJson(line).object();
    if (json["id"].toString().isEmpty())
        return {};
    RowSaving saving;
    saving.id = json["id"].toString();
    saving.time = QDateTime::fromString(json["time"].toString(), Qt::ISODate);
    saving.database = json["database"].toString();
    saving.table = json["table"].toString();
    saving.what = json["what"].toString();
    saving.timeZone = json["timeZone"].toString();
    saving.columns = json["columns"].toVariant().toStringList();
    for (const QJsonValue &change : json["changes"].toArray())
        saving.inverse.push_back(changeOf(change.toObject()));
    saving.statements = json["statements"].toVariant().toStringList();
    saving.isTooLarge = json["tooLarge"].toBool();
    saving.isUndone = json["undone"].toBool();
    return saving;
}

QByteArray contentsOf(const QString &path)
{
    QFile file(path);
    // A pipe of that name would never end.
    const bool isOrdinary = QFileInfo(path).isFile() && file.size() <= 2 * RowHistory::mostFileBytes;
    return isOrdinary && file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void append(const QString &path, const QByteArray &line)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite | QIODevice::Append | QIODevice::Unbuffered))
        throw Failure(file.errorString());
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    // Half a line, of a full disk or a program that was killed, would take this one along.
    const bool isBehindHalf = file.size() > 0 && file.seek(file.size() - 1) && file.read(1) != "\n";
    if (!writeAll(file, isBehindHalf ? '\n' + line : line))
        throw Failure(file.errorString());
}

} // namespace

RowSaving savingOf(const TableShape &whole, const std::vector<RowChange> &inverse)
{
    RowSaving saving;
    saving.database = whole.database;
    saving.table = whole.name;
    saving.inverse = inverse;
    for (const TableColumn &column : whole.columns)
        saving.columns << column.name;
    int counts[3] = {};
    for (const RowChange &change : inverse) {
        ++counts[static_cast<int>(change.kind)];
        if (saving.statements.size() < mostStatementsKept)
            saving.statements << statementOf(whole, change).left(longestStatement);
    }
    // What takes an insertion back deletes.
    saving.what = QStringLiteral("変更 %1, 追加 %2, 削除 %3").arg(counts[0]).arg(counts[2]).arg(counts[1]);
    return saving;
}

QString fileStemOf(const Session &session)
{
    static const QRegularExpression unsafe(QStringLiteral("[^\\w.-]+"),
                                           QRegularExpression::UseUnicodePropertiesOption);
    const bool hasSource = trimmedBlanks(session.gDsn) != noDataSource();
    QString name =
        hasSource ? shownSource(session.gDsn) : session.gServer + u'_' + session.gPort + u'_' + session.gUser;
    // Behind two tunnels the same address is two servers.
    if (!hasSource && session.profile.ssh.isUsed())
        name += u'_' + session.profile.ssh.host + u'_' + session.profile.ssh.port;
    name.replace(unsafe, QStringLiteral("_"));
    constexpr qsizetype longest = 80;
    if (name.size() <= longest)
        return name;
    const QByteArray hash = QCryptographicHash::hash(name.toUtf8(), QCryptographicHash::Sha256).toHex();
    return name.left(longest - 9) + u'-' + QString::fromLatin1(hash.left(8));
}

RowHistory::RowHistory(const Session &session)
    : m_folder(session.settingsFolder)
    , m_stem(QStringLiteral("rows-") + fileStemOf(session) + u'-')
{
}

QString RowHistory::todaysFile() const
{
    return QDir(m_folder).filePath(m_stem + QDate::currentDate().toString(QStringLiteral("yyyyMMdd")) +
                                   QStringLiteral(".undo"));
}

QStringList RowHistory::files() const
{
    QStringList paths;
    const QDir folder(m_folder);
    for (const QString &name : folder.entryList({m_stem + QStringLiteral("????????.undo")}, QDir::Files,
                                                QDir::Name | QDir::Reversed))
        paths << folder.filePath(name);
    return m_folder.isEmpty() ? QStringList() : paths;
}

RowHistory::Kept RowHistory::add(RowSaving saving)
{
    if (m_folder.isEmpty() || saving.inverse.empty())
        return {};
    saving.id = QUuid::createUuid().toString(QUuid::WithoutBraces);
    saving.time = QDateTime::currentDateTime();
    QByteArray line = lineOf(saving);
    if (line.size() > mostSavingBytes) {
        saving.isTooLarge = true;
        saving.inverse.clear();
        saving.statements.clear();
        line = lineOf(saving);
    }
    const QString path = todaysFile();
    const FileLock lock(path);
    if (QByteArray all = contentsOf(path); all.size() + line.size() > mostFileBytes) {
        while (all.size() + line.size() > mostFileBytes / 2 && all.contains('\n'))
            all.remove(0, all.indexOf('\n') + 1);
        if (const QString words = saveWholeFile(path, all, Readers::OwnerOnly); !words.isEmpty())
            throw Failure(words);
    }
    append(path, line);
    const QStringList old = files().mid(daysKept);
    for (const QString &file : old)
        QFile::remove(file);
    return {saving.id, saving.isTooLarge};
}

void RowHistory::change(const QString &id, bool drops)
{
    const QStringList paths = id.isEmpty() ? QStringList() : files();
    for (const QString &path : paths) {
        const FileLock lock(path);
        const QByteArray all = contentsOf(path);
        if (!all.contains(id.toLatin1()))
            continue;
        QByteArray kept;
        for (const QByteArray &line : all.split('\n')) {
            std::optional<RowSaving> saving = savingOfLine(line);
            if (!saving || (saving->id == id && drops))
                continue;
            saving->isUndone |= saving->id == id;
            kept += lineOf(*saving);
        }
        saveWholeFile(path, kept, Readers::OwnerOnly);
        return;
    }
}

void RowHistory::drop(const QString &id)
{
    change(id, true);
}

void RowHistory::markUndone(const QString &id)
{
    change(id, false);
}

std::vector<RowSaving> RowHistory::savings() const
{
    std::vector<RowSaving> all;
    for (const QString &path : files().mid(0, daysShown)) {
        const QList<QByteArray> lines = contentsOf(path).split('\n');
        for (qsizetype i = lines.size(); i-- > 0 && all.size() < mostSavingsShown;)
            if (auto saving = savingOfLine(lines[i]))
                all.push_back(std::move(*saving));
    }
    return all;
}
