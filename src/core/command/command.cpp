#include "core/command/command.h"

QString missing(Needs needs, Needs given)
{
    // In the order in which a user comes by them: whatever is chosen is chosen on a server.
    constexpr Needs onServer =
        Needs::Connection | Needs::LocalServer | Needs::Databases | Needs::Table | Needs::Routine;
    const std::pair<Needs, QString> words[] = {
        {Needs::NoConnection, QStringLiteral("接続中です。先に切断してください")},
        {Needs::Connection, QStringLiteral("サーバーに接続していません")},
        {Needs::MayWrite, QStringLiteral("読み取り専用の接続です")},
        {Needs::LocalServer, QStringLiteral("サーバー名が localhost の接続でだけ使えます")},
        {Needs::Databases, QStringLiteral("データベースの一覧をまだ読んでいません (Alt+L)")},
        {Needs::Table, QStringLiteral("テーブルまたはビューを選んでください")},
        {Needs::Routine, QStringLiteral("ルーチンを選んでください")},
    };
    const Needs all = includes(needs, onServer) ? needs | Needs::Connection : needs;
    for (const auto &[need, word] : words)
        if (includes(all, need) && !includes(given, need))
            return word;
    return {};
}
