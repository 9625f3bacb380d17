#pragma once

#include <QFile>

#include <functional>
#include <string_view>

// The result file. What the system refuses is thrown as Failure in the system's own words, the path before
// them.
class OutputFile {
public:
    // Created or overwritten. yield() is called now and then while the system takes its time for that or
    // for closing.
    OutputFile(const QString &path, std::function<void()> yield);

    // At once: many lines each time, so that the system is called seldom.
    void write(std::string_view wholeLines);
    // Throws, too, when the file is gone from its folder.
    void close();

private:
    void runOnThread(const std::function<void()> &work);
    [[noreturn]] void fail(const QString &systemWords) const;

    QFile m_file;
    const std::function<void()> m_yield;
};
