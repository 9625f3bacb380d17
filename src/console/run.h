#pragma once

#include "core/session/session.h"

#include <QString>

#include <functional>

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

// One execution: reads a statement's rows into grid and text, or straight into the file, in the blocks that
// they come in. Window events run between the blocks, which take less than a millisecond, and while the
// server thinks; a stop from them ends it at once.
class ConsoleRun {
public:
    enum class Result { NoRows, Rows };

    ConsoleRun(Session &session, RunViews views)
        : m_session(session)
        , m_views(std::move(views))
    {
    }

    // Throws Failure when the server or the system refuses, and when a stop ended it. What was read until
    // then is in the grid or, as whole lines, in the file. Throws std::bad_alloc, too; rows that the memory
    // is too small for are let go.
    Result execute(const RunRequest &request);
    // After an execution that threw: puts what was read into the text box and the file. Apart from execute()
    // because it takes its time: the user hears of the stop first. Throws as execute() does.
    void keepWhatWasRead();
    qint64 rowCount() const { return m_rowCount; }
    // What the user should know of an execution without rows; mostly empty.
    const QString &note() const { return m_rows.note(); }

private:
    void readIntoViews();
    void readIntoGrid();
    void letGo();
    void readIntoFile();
    void readBlocks(const std::function<void()> &take);
    void saveText(const QString &path);
    void showText();
    QString outputPath();
    void startEditor(const QString &path);

    Session &m_session;
    RunViews m_views;
    RunRequest m_request;
    RecordSet m_rows;
    qint64 m_rowCount = 0;
    std::size_t m_byteCount = 0; // of the lines of the rows in the grid
    bool m_hasText = true;       // the text box shows what the grid shows
    bool m_hasTriedToSave = false;
};
