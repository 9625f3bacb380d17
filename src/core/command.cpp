#include "core/command.h"

QString missing(Needs needs, Needs given)
{
    const std::pair<Needs, QString> words[] = {
        {Needs::NoConnection, QStringLiteral("接続中です。先に切断してください")},
        {Needs::Connection, QStringLiteral("サーバーに接続していません")},
        {Needs::LocalServer, QStringLiteral("サーバー名が localhost の接続でだけ使えます")},
        {Needs::Databases, QStringLiteral("データベースの一覧をまだ読んでいません (Alt+L)")},
        {Needs::Table, QStringLiteral("テーブルまたはビューを選んでください")},
        {Needs::Routine, QStringLiteral("ルーチンを選んでください")},
    };
    for (const auto &[need, word] : words)
        if (includes(needs, need) && !includes(given, need))
            return word;
    return {};
}
