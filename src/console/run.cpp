#include "console/run.h"

#include "console/outputfile.h"
#include "console/resultlines.h"
#include "controls/grid/flexgrid.h"
#include "controls/grid/packedrows.h"
#include "controls/text/resulttextbox.h"
#include "controls/window/windowpump.h"

#include <QDir>
#include <QProcess>
#include <QScopeGuard>
#include <QStandardPaths>

#include <limits>
#include <new>

ConsoleRun::Result ConsoleRun::execute(const RunRequest &request)
{
    m_request = request;
    m_hasText = true;
    m_hasTriedToSave = false;
    m_rows = m_session.connection().execute(request.statement);
    m_rowCount = 0; // what is refused leaves the last result, and its count
    m_byteCount = 0;
    m_views.grid.setEnabled(true);
    m_views.text.setEnabled(true);
    if (!m_rows.isOpen()) {
        m_views.grid.clearGrid();
        m_views.text.clearText();
        m_views.showCount(0);
        return Result::NoRows;
    }
    const auto isOver = qScopeGuard([this] { m_rows.close(); });
    m_views.grid.setFields(m_rows.fields());
    m_views.grid.setStatement(request.statement);
    if (request.isFileOnly)
        readIntoFile();
    else
        readIntoViews();
    return Result::Rows;
}

void ConsoleRun::keepWhatWasRead()
{
    if (m_hasText)
        return;
    showText();
    if (m_request.savesText && !m_hasTriedToSave)
        saveText(outputPath());
}

void ConsoleRun::readIntoGrid()
{
    const RedrawOff redrawOff(m_views.grid);
    try {
        readBlocks([this] {
            m_byteCount += lineBytes(m_rows.block());
            m_views.grid.appendBlock(m_rows.takeBlock());
        });
    } catch (const Failure &error) {
        if (error.isOutOfMemory())
            letGo();
        throw;
    } catch (const std::bad_alloc &) {
        letGo();
        throw;
    }
}

// To show the rows takes memory as well, and the toolkit crashes without.
void ConsoleRun::letGo()
{
    m_views.grid.clearGrid();
    m_hasText = true;
}

void ConsoleRun::readIntoViews()
{
    m_hasText = false;
    readIntoGrid();
    const QString path = outputPath();
    if (m_request.savesText) {
        saveText(path);
        if (m_request.opensEditor)
            startEditor(path);
    }
    showText();
}

void ConsoleRun::readIntoFile()
{
    const QString path = outputPath();
    m_views.grid.setNoRowsText(QStringLiteral("行は表示せず、ファイルだけに書きます\n") +
                               QDir::toNativeSeparators(path));
    Yield yield;
    OutputFile file(path, std::ref(yield));
    ResultLines lines(m_request.delimiter);
    file.write(lines.header(m_rows.fields()));
    m_rows.readWithoutLimit();
    readBlocks([&] { file.write(lines.of(m_rows.block())); });
    file.close();
    if (m_request.opensEditor)
        startEditor(path);
}

void ConsoleRun::readBlocks(const std::function<void()> &take)
{
    Yield yield;
    for (; !m_rows.isEof(); m_rows.moveNextBlock()) {
        const int rows = m_rows.block().rowCount();
        take();
        m_rowCount += rows;
        if (yield.isDue()) {
            m_views.showCount(m_rowCount);
            yield();
        }
        m_session.requireGoingOn();
    }
}

void ConsoleRun::saveText(const QString &path)
{
    m_hasTriedToSave = true;
    Yield yield;
    OutputFile file(path, std::ref(yield));
    writeLines(m_rows.fields(), m_views.grid.rows(), m_request.delimiter, [&](std::string_view text) {
        file.write(text);
        yield();
    });
    file.close();
}

// The text is made anew from the grid's rows: a copy of it, kept while the rows arrive, would cost as much
// memory as the grid and the text box together are meant to.
void ConsoleRun::showText()
{
    m_hasText = true;
    const std::size_t byteCount =
        ResultLines(m_request.delimiter).header(m_rows.fields()).size() + m_byteCount;
    // QScintilla counts in 32 bits.
    if (byteCount > std::numeric_limits<int>::max())
        throw Failure(QStringLiteral("オーバーフローしました。"), 6);
    Yield yield;
    m_views.text.produceText(
        byteCount,
        [fields = m_rows.fields(), rows = m_views.grid.rows(), delimiter = m_request.delimiter](
            const ResultTextBox::Take &take) { writeLines(fields, rows, delimiter, take); },
        std::ref(yield));
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

void ConsoleRun::startEditor(const QString &path)
{
    if (m_session.gTextEditor.trimmed().isEmpty())
        return;
    // A program, whose path may hold blanks, or a command line with arguments of its own.
    QStringList command{m_session.gTextEditor};
    if (QStandardPaths::findExecutable(m_session.gTextEditor).isEmpty())
        command = QProcess::splitCommand(m_session.gTextEditor);
    QProcess process;
    process.setProgram(command.value(0));
    process.setArguments(command.mid(1) << QDir::toNativeSeparators(path));
    if (!process.startDetached())
        throw Failure(m_session.gTextEditor + QStringLiteral(": ") + process.errorString());
}
