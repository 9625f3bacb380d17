#pragma once

#include <QFile>

#include <functional>
#include <string>
#include <string_view>

// The result file: whole lines gathered in a large buffer, so that the system is called seldom.
// What the system refuses is thrown as Failure in the system's own words, the path before them.
class OutputFile {
public:
    // Created or overwritten. yield() is called now and then while the system takes its time for that or
    // for closing.
    OutputFile(const QString &path, std::function<void()> yield);
    ~OutputFile(); // closes; lines gathered so far are written if that is possible
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    void write(std::string_view wholeLines);
    // Writes what is left. Throws, too, when the file is gone from its folder.
    void close();

private:
    void flush();
    void runOnThread(const std::function<void()> &work);
    [[noreturn]] void fail(const QString &systemWords);

    QFile m_file;
    const std::function<void()> m_yield;
    std::string m_waiting;
};
