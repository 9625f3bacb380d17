#pragma once

#include <QFile>
#include <QString>

#include <memory>
#include <string>
#include <string_view>

// A file that bears its name only once it is whole: until then it stands beside it as "name.partial". A name
// that ends in ".gz" is compressed. All throw Failure with the system's own words.
class TransferFile {
public:
    explicit TransferFile(const QString &path);
    // What is not finished is removed.
    ~TransferFile();
    TransferFile(const TransferFile &) = delete;
    TransferFile &operator=(const TransferFile &) = delete;

    void write(std::string_view bytes);
    // Waits until the disk has everything, and takes the place of what had the name.
    void finish();
    // The same in two steps, for one of many files that take their names together; nothing is open between.
    void complete();
    void takeName();
    // Waits until the disk has everything, and keeps the file open for takeName(), so that nobody else writes
    // it.
    void writeRest();
    const QString &path() const { return m_path; }

private:
    class Compressor;
    void store(std::string_view bytes);
    void flush();
    [[noreturn]] void fail(const QString &why) const;

    QString m_path;
    QFile m_file;
    std::unique_ptr<Compressor> m_compressor;
    std::string m_buffer;
    bool m_isComplete = false, m_isNamed = false;
};
