#pragma once

#include "console/outputfile.h"
#include "core/session.h"
#include "core/stringbuffer.h"

#include <QString>

#include <functional>
#include <string>

class FlexGrid;
class ResultTextBox;

// What a run takes over from the window at the click.
struct RunRequest {
    QString statement;
    char delimiter = ' ';
    bool isFileOnly = false;  // ckNoTextNoGrid
    bool savesText = false;   // ckMemo(0)
    bool opensEditor = false; // ckMemo(1)
};

// Where a run shows what it reads.
struct RunViews {
    FlexGrid &grid;
    ResultTextBox &text;
    std::function<void(qint64)> showCount;
};

// One execution after the other: reads a statement's rows into grid and text, or straight into the file.
// Window events run between the rows and while the server thinks, and stop() may be called from them.
class ConsoleRun {
public:
    enum class Result { NoRows, Rows };

    ConsoleRun(Session &session, RunViews views)
        : m_session(session)
        , m_views(std::move(views))
    {
    }

    // Throws SqlError when the server or the system refuses, and when stop() ended it. What was read until
    // then stays in the views and, as whole lines, in the file.
    Result execute(const RunRequest &request);
    // Ends the statement that waits for its server, or closes the record set that is being read.
    void stop();
    qint64 rowCount() const { return m_rowCount; }

private:
    void readIntoViews(const RunRequest &request);
    void readIntoFile(const RunRequest &request);
    void readRows(const std::function<void()> &take);
    void moveNext();
    void showText();
    QString outputPath();

    Session &m_session;
    RunViews m_views;
    RecordSet m_rows;
    StringBuffer m_buffer;
    qint64 m_rowCount = 0;
    bool m_isStopped = false;
    bool m_isInCall = false; // a call of the connection or the record set is on the stack
};
