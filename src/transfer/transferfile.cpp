#include "transfer/transferfile.h"

#include "core/session/fileclaim.h"
#include "core/session/wholefile.h"
#include "core/sql/failure.h"

#include <QFileInfo>

#include <array>
#include <zlib.h>

namespace {

constexpr std::size_t bufferBytes = 256 * 1024;

} // namespace

// The stream of zlib, in the form of a .gz file.
class TransferFile::Compressor {
public:
    Compressor()
    {
        constexpr int windowOfGzip = 15 + 16;
        constexpr int memoryLevel = 8;
        m_isReady = deflateInit2(&m_stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, windowOfGzip, memoryLevel,
                                 Z_DEFAULT_STRATEGY) == Z_OK;
    }
    ~Compressor()
    {
        if (m_isReady)
            deflateEnd(&m_stream);
    }
    Compressor(const Compressor &) = delete;
    Compressor &operator=(const Compressor &) = delete;

    bool isReady() const { return m_isReady; }

    template <class Store>
    void compress(std::string_view bytes, bool isLast, Store store)
    {
        // zlib reads these bytes and never writes them.
        m_stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(bytes.data()));
        m_stream.avail_in = static_cast<uInt>(bytes.size());
        do {
            m_stream.next_out = m_out.data();
            m_stream.avail_out = static_cast<uInt>(m_out.size());
            deflate(&m_stream, isLast ? Z_FINISH : Z_NO_FLUSH);
            store({reinterpret_cast<const char *>(m_out.data()), m_out.size() - m_stream.avail_out});
        } while (m_stream.avail_out == 0);
    }

private:
    z_stream m_stream{};
    std::array<Bytef, 64 * 1024> m_out;
    bool m_isReady = false;
};

TransferFile::TransferFile(const QString &path)
    : m_path(path)
    , m_file(path + QStringLiteral(".partial"))
{
    // The file that was chosen, not what somebody else's link leads to.
    if (QFileInfo(path).isSymLink() || QFileInfo(m_file.fileName()).isSymLink())
        fail(QStringLiteral("シンボリックリンクの先には書き込みません。"));
    if (QFileInfo(path).isDir())
        fail(QStringLiteral("同じ名前のフォルダーがあります。"));
    if (QFileInfo::exists(path) && !QFileInfo(path).isFile())
        fail(QStringLiteral("ファイルではありません。")); // a device, whose place a file would take
    // Emptied only once it is ours: two that write into one file would mix their bytes.
    if (!m_file.open(QIODevice::ReadWrite | QIODevice::Unbuffered))
        fail(m_file.errorString());
    if (!claimForWriting(m_file)) {
        m_file.close();
        fail(QStringLiteral("ほかの処理が同じファイルに書いています。"));
    }
    if (!m_file.resize(0))
        fail(m_file.errorString());
    if (path.endsWith(u".gz", Qt::CaseInsensitive)) {
        m_compressor = std::make_unique<Compressor>();
        if (!m_compressor->isReady())
            fail(QStringLiteral("圧縮を始められません。"));
    }
    m_buffer.reserve(bufferBytes);
}

TransferFile::~TransferFile()
{
    if (!m_isNamed && (m_isComplete || m_file.isOpen()))
        m_file.remove();
}

void TransferFile::write(std::string_view bytes)
{
    if (m_buffer.size() + bytes.size() > bufferBytes)
        flush();
    if (bytes.size() > bufferBytes)
        store(bytes);
    else
        m_buffer += bytes;
}

void TransferFile::flush()
{
    store(m_buffer);
    m_buffer.clear();
}

void TransferFile::store(std::string_view bytes)
{
    const auto toDisk = [this](std::string_view part) {
        if (!writeAll(m_file, {part.data(), static_cast<qsizetype>(part.size())}))
            fail(m_file.errorString());
    };
    if (!m_compressor)
        return toDisk(bytes);
    // zlib counts in 32 bits.
    constexpr std::size_t piece = 1 << 30;
    for (; !bytes.empty(); bytes.remove_prefix(std::min(piece, bytes.size())))
        m_compressor->compress(bytes.substr(0, piece), false, toDisk);
}

void TransferFile::finish()
{
    writeRest();
    takeName();
}

void TransferFile::complete()
{
    writeRest();
    m_file.close();
    m_isComplete = true;
    m_compressor.reset();
    m_buffer = {};
}

void TransferFile::writeRest()
{
    flush();
    if (m_compressor)
        m_compressor->compress({}, true, [this](std::string_view part) {
            if (!writeAll(m_file, {part.data(), static_cast<qsizetype>(part.size())}))
                fail(m_file.errorString());
        });
    if (!syncToDisk(m_file))
        fail(m_file.errorString());
}

void TransferFile::takeName()
{
    m_isNamed = true;
    if (const QString words = renameClaimed(m_file, m_path); !words.isEmpty())
        throw Failure(QStringLiteral("ファイル「%1」は書き終えましたが、「%2」に名前を変えられません。\r\n%3")
                          .arg(m_file.fileName(), m_path, words));
}

void TransferFile::fail(const QString &why) const
{
    throw Failure(QStringLiteral("ファイル「%1」に書き込めません。\r\n%2").arg(m_path, why));
}
