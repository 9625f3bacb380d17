#include "console/outputfile.h"

#include "core/sqlerror.h"
#include "core/wholefile.h"

#include <cerrno>

namespace {

constexpr std::size_t bufferSize = std::size_t{256} << 10;

} // namespace

OutputFile::OutputFile(const QString &path)
    : m_file(path)
{
    m_waiting.reserve(bufferSize);
    if (!m_file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered))
        fail(m_file.errorString());
}

OutputFile::~OutputFile()
{
    if (m_file.isOpen())
        m_file.write(m_waiting.data(), static_cast<qint64>(m_waiting.size()));
}

void OutputFile::write(std::string_view wholeLines)
{
    if (m_waiting.size() + wholeLines.size() > bufferSize)
        flush();
    m_waiting.append(wholeLines);
}

void OutputFile::close()
{
    flush();
    m_file.close();
    if (m_file.error() != QFileDevice::NoError)
        fail(m_file.errorString());
    // A file that was removed while it was open takes every byte and keeps none.
    if (!m_file.exists())
        fail(qt_error_string(ENOENT));
}

void OutputFile::flush()
{
    if (!writeAll(m_file, m_waiting))
        fail(m_file.errorString());
    m_waiting.clear();
}

void OutputFile::fail(const QString &systemWords)
{
    m_waiting.clear(); // not once more from the destructor
    throw SqlError(m_file.fileName() + QStringLiteral(": ") + systemWords);
}
