#include "console/run.h"

#include "console/resultlines.h"
#include "controls/flexgrid.h"
#include "controls/resulttextbox.h"
#include "controls/windowpump.h"

#include <QDir>
#include <QProcess>

#include <exception>
#include <utility>

namespace {

// Sets a flag for as long as it lives.
class Raised {
public:
    explicit Raised(bool &flag)
        : m_flag(flag)
    {
        m_flag = true;
    }
    ~Raised() { m_flag = false; }
    Raised(const Raised &) = delete;
    Raised &operator=(const Raised &) = delete;

private:
    bool &m_flag;
};

// What has been read is kept whatever happens next, so each step is tried; the first failure is what counts.
template <class Step>
void attempt(std::exception_ptr &failure, Step step)
{
    try {
        step();
    } catch (const SqlError &) {
        if (!failure)
            failure = std::current_exception();
    }
}

void startEditor(const QString &editor, const QString &path)
{
    if (editor.trimmed().isEmpty())
        return;
    QProcess process;
    process.setProgram(editor);
    process.setArguments({QDir::toNativeSeparators(path)});
    if (!process.startDetached())
        throw SqlError(editor + QStringLiteral(": ") + process.errorString());
}

} // namespace

ConsoleRun::Result ConsoleRun::execute(const RunRequest &request)
{
    m_isStopped = false;
    m_rowCount = 0;
    {
        const Raised inCall(m_isInCall);
        m_rows = m_session.connection().execute(request.statement);
    }
    if (!m_rows.isOpen())
        return Result::NoRows;
    // Some statements report success although they were stopped (SELECT SLEEP, MariaDB 10.11).
    if (m_isStopped)
        m_rows.close();

    m_views.grid.setFields(m_rows.fields());
    std::exception_ptr failure;
    attempt(failure, [&] { request.isFileOnly ? readIntoFile(request) : readIntoViews(request); });
    m_rows.close();
    m_buffer.Clear();
    if (failure)
        std::rethrow_exception(failure);
    return Result::Rows;
}

void ConsoleRun::stop()
{
    m_isStopped = true;
    // A record set must not be closed beneath its own read: that one throws, or moveNext() closes it after.
    if (!m_isInCall)
        m_rows.close();
    else if (m_session.gCn)
        m_session.gCn->cancel();
}

void ConsoleRun::readIntoViews(const RunRequest &request)
{
    ResultLines lines(request.delimiter);
    m_buffer.Init(0);
    m_buffer.appendUtf8(lines.header(m_rows.fields()));
    std::exception_ptr failure;
    {
        const RedrawOff redrawOff(m_views.grid);
        attempt(failure, [&] {
            readRows([&] {
                m_views.grid.appendRow(m_rows.cells());
                m_buffer.appendUtf8(lines.row(m_rows.cells()));
            });
        });
    }
    const bool isComplete = !failure;
    const QString path = outputPath();
    if (request.savesText && (isComplete || m_isStopped)) {
        attempt(failure, [&] {
            OutputFile file(path);
            for (const std::string &piece : m_buffer.pieces())
                file.write(piece);
            file.close();
            if (request.opensEditor && isComplete)
                startEditor(m_session.gTextEditor, path);
        });
    }
    showText();
    if (failure)
        std::rethrow_exception(failure);
}

void ConsoleRun::readIntoFile(const RunRequest &request)
{
    const QString path = outputPath();
    OutputFile file(path);
    ResultLines lines(request.delimiter);
    file.write(lines.header(m_rows.fields()));
    std::exception_ptr failure;
    attempt(failure, [&] { readRows([&] { file.write(lines.row(m_rows.cells())); }); });
    attempt(failure, [&] { file.close(); });
    if (failure)
        std::rethrow_exception(failure);
    if (request.opensEditor)
        startEditor(m_session.gTextEditor, path);
}

// Only the end of the record set is asked for, never the run flag: a stop closes the record set, and the
// next question to it throws.
void ConsoleRun::readRows(const std::function<void()> &take)
{
    Yield yield;
    while (!m_rows.isEof()) {
        take();
        ++m_rowCount;
        if (yield.isDue()) {
            m_views.showCount(m_rowCount);
            yield();
        }
        moveNext();
    }
}

void ConsoleRun::moveNext()
{
    {
        const Raised inCall(m_isInCall);
        m_rows.moveNext();
    }
    if (m_isStopped)
        m_rows.close();
}

// Piece by piece, so that the window stays alive and each piece's memory is free again once it is shown.
void ConsoleRun::showText()
{
    Yield yield;
    m_views.text.setPieces(
        m_buffer.byteCount(), [this] { return m_buffer.takePiece(); }, std::ref(yield));
}

QString ConsoleRun::outputPath()
{
    QString &folder = m_session.gTextPath;
    if (folder.trimmed().isEmpty() || !QDir(folder).exists())
        folder = m_session.programFolder;
    if (!folder.endsWith(QDir::separator()))
        folder += QDir::separator();
    return folder + QStringLiteral("sqldump.dat");
}
