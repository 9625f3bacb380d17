#pragma once

#include "core/session/piecedecoder.h"

#include <QByteArray>
#include <QString>

#include <memory>
#include <optional>

struct gzFile_s; // of zlib

// A file of SQL, plain or packed by gzip, read in pieces. What it gives is UTF-8, or the file's own bytes: a
// dump may hold values that are no text.
class ScriptFile {
public:
    enum class Encoding {
        Bytes, // as they stand; a byte order mark decides first
        Cp932,
        EucJp
    };

    // Throws Failure with the system's words.
    ScriptFile(const QString &path, Encoding encoding);
    ~ScriptFile();

    // The next bytes, about so many; nothing at the end. Throws Failure.
    QByteArray read(std::size_t size);
    // Whatever character set a statement of it names, what is given is UTF-8; known once something was read.
    bool givesUtf8() const { return m_decoder || m_hasUtf8Mark; }
    // Of the file as it lies there, packed or not.
    qint64 byteCount() const { return m_byteCount; }
    qint64 bytesRead() const;

private:
    QByteArray readRaw(std::size_t size);
    void chooseEncoding(QByteArray &first, Encoding encoding);

    const QString m_path;
    const Encoding m_encoding;
    gzFile_s *m_file = nullptr;
    qint64 m_byteCount = 0;
    bool m_isBegun = false, m_hasUtf8Mark = false;
    std::optional<PieceDecoder> m_decoder;
};
