#pragma once

#include "core/session/piecedecoder.h"

#include <QFile>
#include <QString>

#include <optional>
#include <string>
#include <vector>

enum class FileEncoding { Utf8, Cp932, Utf16 };

// How a file of separated values is to be read.
struct CsvFormat {
    FileEncoding encoding = FileEncoding::Utf8;
    char separator = ',';
    bool hasHeader = true;

    bool operator==(const CsvFormat &) const = default;
};

// From the beginning of a file: a byte order mark decides, else valid UTF-8, else CP932; the separator that
// parts the first lines most evenly; a header when no value of the first line is a number.
CsvFormat guessedFormat(const QByteArray &start);

struct CsvField {
    std::string text; // UTF-8
    bool isQuoted = false;
};

struct CsvRow {
    qint64 line = 0; // of the file, where the row begins, from 1
    std::vector<CsvField> fields;
};

// Reads a file of separated values row by row; quotes double inside of quotes, line ends are any.
class CsvReader {
public:
    // Throws Failure, as all here: also where a row is larger than that, which is a quote that is never
    // closed more often than a value.
    CsvReader(const QString &path, const CsvFormat &format, qint64 mostRowBytes = largestRow);

    // False at the end. Empty lines are passed over. Throws where a quote is never closed.
    bool next(CsvRow &row);
    qint64 emptyLines() const { return m_emptyLines; } // passed over so far
    qint64 byteCount() const { return m_file.size(); }
    qint64 bytesRead() const { return m_file.pos(); }

private:
    static constexpr qint64 largestRow = 1024 * 1024 * 1024; // no server takes a larger one

    bool fill();
    qint64 firstUnreadableLine() const;
    int peek();
    bool readField(CsvField &field);

    QFile m_file;
    const CsvFormat m_format;
    const qint64 m_mostRowBytes;
    qint64 m_rowBytes = 0; // that were read since the row began
    std::optional<PieceDecoder> m_decoder;
    QByteArray m_bytes;
    qsizetype m_at = 0;
    qint64 m_line = 1, m_rowLine = 1, m_emptyLines = 0;
    bool m_isBegun = false;
};
