#include "core/command/scriptfile.h"

#include "core/sql/failure.h"

#include <QFile>
#include <QFileInfo>

#include <zlib.h>

ScriptFile::ScriptFile(const QString &path, Encoding encoding)
    : m_path(path)
    , m_encoding(encoding)
    , m_byteCount(QFileInfo(path).size())
{
    // The library opens folders, too, and waits for ever at a pipe; Qt has the system's words.
    QFile look(path);
    const QFileInfo info(path);
    if (!info.isFile() || !look.open(QIODevice::ReadOnly))
        throw Failure(path + QStringLiteral(": ") +
                      (!info.exists()   ? QStringLiteral("ファイルがありません。")
                       : !info.isFile() ? QStringLiteral("ファイルではありません。")
                                        : look.errorString()));
    m_file = gzopen(QFile::encodeName(path).constData(), "rb");
    if (!m_file)
        throw Failure(path + QStringLiteral(": 開けません。"));
    gzbuffer(m_file, 256 * 1024);
}

ScriptFile::~ScriptFile()
{
    gzclose(m_file);
}

QByteArray ScriptFile::read(std::size_t size)
{
    QByteArray bytes = readRaw(size);
    if (!std::exchange(m_isBegun, true))
        chooseEncoding(bytes, m_encoding);
    if (!m_decoder)
        return bytes;
    if (bytes.isEmpty() && m_decoder->endsWithin())
        throw Failure(m_path + QStringLiteral(": ファイルは文字の途中で終わっています。"));
    const QByteArray text = m_decoder->take(bytes);
    if (m_decoder->hasError())
        throw Failure(m_path + QStringLiteral(": 選ばれた文字コードで読めない文字があります。"));
    // A piece that gives nothing yet is not the end.
    return text.isEmpty() && !bytes.isEmpty() ? read(size) : text;
}

QByteArray ScriptFile::readRaw(std::size_t size)
{
    QByteArray bytes(static_cast<qsizetype>(size), Qt::Uninitialized);
    const int count = gzread(m_file, bytes.data(), static_cast<unsigned>(size));
    int number = Z_OK;
    const char *words = gzerror(m_file, &number);
    // A packed file that ends too soon gives what there is first, and says so only then.
    if (count < 0 || (count == 0 && number != Z_OK && number != Z_STREAM_END))
        throw Failure(m_path + QStringLiteral(": ") + QString::fromLocal8Bit(words));
    bytes.truncate(count);
    return bytes;
}

void ScriptFile::chooseEncoding(QByteArray &first, Encoding encoding)
{
    m_hasUtf8Mark = first.startsWith("\xef\xbb\xbf");
    if (m_hasUtf8Mark)
        first.remove(0, 3);
    else if (first.startsWith("\xff\xfe") || first.startsWith("\xfe\xff"))
        m_decoder.emplace(PieceDecoder::Encoding::Utf16);
    else if (encoding == Encoding::Cp932)
        m_decoder.emplace(PieceDecoder::Encoding::Cp932);
    else if (encoding == Encoding::EucJp)
        m_decoder.emplace(PieceDecoder::Encoding::EucJp);
}

qint64 ScriptFile::bytesRead() const
{
    return gzoffset(m_file);
}
