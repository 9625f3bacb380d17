#pragma once

#include <QFile>

#include <string>
#include <string_view>

// The result file: whole lines gathered in a large buffer, so that the system is called seldom.
// What the system refuses is thrown as SqlError in the system's own words, the path before them.
class OutputFile {
public:
    explicit OutputFile(const QString &path); // created or overwritten
    ~OutputFile();                            // closes; lines gathered so far are written if that is possible
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    void write(std::string_view wholeLines);
    // Writes what is left. Throws, too, when the file is gone from its folder.
    void close();

private:
    void flush();
    [[noreturn]] void fail(const QString &systemWords);

    QFile m_file;
    std::string m_waiting;
};
