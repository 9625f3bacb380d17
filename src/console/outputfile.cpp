#include "console/outputfile.h"

#include "core/driver/pump.h"
#include "core/session/wholefile.h"
#include "core/sql/failure.h"

#include <cerrno>
#include <thread>
#include <utility>

namespace {

constexpr std::size_t bufferSize = std::size_t{256} << 10;

} // namespace

OutputFile::OutputFile(const QString &path, std::function<void()> yield)
    : m_file(path)
    , m_yield(std::move(yield))
{
    m_waiting.reserve(bufferSize);
    bool isOpen = false;
    runOnThread(
        [&] { isOpen = m_file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered); });
    if (!isOpen)
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
    runOnThread([this] { m_file.close(); });
    if (m_file.error() != QFileDevice::NoError)
        fail(m_file.errorString());
    // A file that was removed while it was open takes every byte and keeps none.
    if (!m_file.exists())
        fail(qt_error_string(ENOENT));
}

// Emptying a large old file takes a while, and a file system may write out all of its successor when that one
// is closed (ext4 does): 40 to 90 ms for 145 MB.
void OutputFile::runOnThread(const std::function<void()> &work)
{
    Completion done;
    const std::jthread thread([&] {
        work();
        done.finish();
    });
    while (!done.waitFor(std::chrono::milliseconds(10)))
        m_yield();
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
    throw Failure(m_file.fileName() + QStringLiteral(": ") + systemWords);
}
