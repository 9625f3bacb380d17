#include "sheets/sheetsettings.h"

#include "core/session/profilefile.h"
#include "core/session/wholefile.h"

namespace {

const QString section = QStringLiteral("Sheets");

} // namespace

int SheetSettings::number(const QString &key, int standard) const
{
    bool isNumber = false;
    const int value = ProfileFile(m_path).value(section, key).toInt(&isNumber);
    return isNumber ? value : standard;
}

bool SheetSettings::isOn(const QString &key, bool standard) const
{
    return number(key, standard ? 1 : 0) == 1;
}

void SheetSettings::set(const QString &key, const QString &value) const
{
    const FileLock lock(m_path);
    ProfileFile file(m_path);
    file.setValue(section, key, value);
    file.save();
}

void SheetSettings::keep(const QString &key, int value) const
{
    set(key, QString::number(value));
}

QStringList SheetSettings::recent() const
{
    return ProfileFile(m_path).value(section, QStringLiteral("Recent")).split(u'\t', Qt::SkipEmptyParts);
}

void SheetSettings::noteRecent(const QString &path) const
{
    constexpr qsizetype most = 10;
    QStringList paths = recent();
    paths.removeAll(path);
    paths.prepend(path);
    set(QStringLiteral("Recent"), paths.mid(0, most).join(u'\t'));
}
