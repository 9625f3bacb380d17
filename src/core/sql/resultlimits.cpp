#include "core/sql/resultlimits.h"

#include <algorithm>
#include <unistd.h>

namespace {

constexpr std::uint64_t megabyte = 1024 * 1024;

std::uint64_t machineBytes()
{
    return static_cast<std::uint64_t>(std::max(sysconf(_SC_PHYS_PAGES), 0L)) *
           static_cast<std::uint64_t>(std::max(sysconf(_SC_PAGESIZE), 0L));
}

} // namespace

std::uint64_t mostResultBytes()
{
    static const std::uint64_t bytes = [] {
        if (const int megabytes = qEnvironmentVariableIntValue("TARNWELL_RESULT_MB"); megabytes > 0)
            return static_cast<std::uint64_t>(megabytes) * megabyte;
        return std::clamp(machineBytes() / 4, 256 * megabyte, 2048 * megabyte);
    }();
    return bytes;
}

Failure resultTooLarge()
{
    return Failure(QStringLiteral("結果が %1 MB を超えたため、読むのをやめました。LIMIT などで行を減らすか、"
                                  "ファイルだけに書いて下さい。")
                       .arg(mostResultBytes() / megabyte));
}

void requireFewColumns(std::int64_t columns)
{
    constexpr std::int64_t most = 4096;
    if (columns > most)
        throw Failure(
            QStringLiteral("結果の列が %1 個あります。%2 個までしか読みません。").arg(columns).arg(most));
}
