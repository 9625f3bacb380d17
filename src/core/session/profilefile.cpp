#include "core/session/profilefile.h"

#include "core/session/codepage.h"
#include "core/session/wholefile.h"
#include "core/sql/statements.h"

#include <QFile>

namespace {

bool isSection(const QString &line)
{
    return line.trimmed().startsWith(u'[');
}

bool namesSection(const QString &line, const QString &section)
{
    const QString text = line.trimmed();
    const qsizetype end = text.indexOf(u']');
    return text.startsWith(u'[') && end > 0 &&
           text.mid(1, end - 1).trimmed().compare(section, Qt::CaseInsensitive) == 0;
}

bool namesKey(const QString &line, const QString &key)
{
    const qsizetype equals = line.indexOf(u'=');
    return equals > 0 && QStringView(line).left(equals).trimmed().compare(key, Qt::CaseInsensitive) == 0;
}

} // namespace

ProfileFile::ProfileFile(QString path)
    : m_path(std::move(path))
    , m_refusal(whyLeftAlone(m_path))
{
    QFile file(m_path);
    if (!m_refusal.isEmpty() || !file.exists())
        return;
    if (!file.open(QIODevice::ReadOnly)) {
        m_refusal = file.errorString();
        return;
    }
    QString text = fromCodePage(file.readAll());
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(u'\r', u'\n');
    if (text.endsWith(u'\n'))
        text.chop(1);
    if (!text.isEmpty())
        m_lines = text.split(u'\n');
}

QString ProfileFile::value(const QString &section, const QString &key) const
{
    const qsizetype line = keyLine(section, key);
    if (line < 0)
        return {};
    return trimmedBlanks(m_lines[line].mid(m_lines[line].indexOf(u'=') + 1));
}

void ProfileFile::setValue(const QString &section, const QString &key, const QString &value)
{
    QString text = value;
    for (const QChar lineBreak : {u'\r', u'\n'})
        if (const qsizetype at = text.indexOf(lineBreak); at >= 0)
            text.truncate(at);
    const QString line = key + u'=' + text;
    if (const qsizetype known = keyLine(section, key); known >= 0) {
        m_lines[known] = line;
        return;
    }
    qsizetype at = sectionLine(section);
    if (at < 0) {
        m_lines << u'[' + section + u']' << line;
        return;
    }
    // Behind the section's last line that holds something.
    for (qsizetype next = at + 1; next < m_lines.size() && !isSection(m_lines[next]); ++next)
        if (!m_lines[next].trimmed().isEmpty())
            at = next;
    m_lines.insert(at + 1, line);
}

QString ProfileFile::save() const
{
    if (!m_refusal.isEmpty())
        return m_refusal;
    // It holds a password, hardly disguised.
    return saveWholeFile(m_path, toCodePage(m_lines.join(QStringLiteral("\r\n")) + QStringLiteral("\r\n")),
                         Readers::OwnerOnly);
}

qsizetype ProfileFile::sectionLine(const QString &section) const
{
    for (qsizetype i = 0; i < m_lines.size(); ++i)
        if (namesSection(m_lines[i], section))
            return i;
    return -1;
}

qsizetype ProfileFile::keyLine(const QString &section, const QString &key) const
{
    const qsizetype first = sectionLine(section);
    if (first < 0)
        return -1;
    for (qsizetype i = first + 1; i < m_lines.size() && !isSection(m_lines[i]); ++i)
        if (namesKey(m_lines[i], key))
            return i;
    return -1;
}
