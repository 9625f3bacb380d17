#include "maintenance/backup/definitionfile.h"

#include "core/sql/failure.h"
#include "core/sql/statements.h"
#include "maintenance/backup/definitionform.h"
#include "maintenance/backup/objectfile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

#include <algorithm>

namespace {

[[noreturn]] void refuse(const QString &path, const QString &why)
{
    throw Failure(QStringLiteral("ファイル「%1」からは復元できません。\r\n%2\r\n何も変更していません。")
                      .arg(path, why));
}

// The file's ending may be written in capitals; the list has dropped it.
QString definitionPath(const QString &folder, const QString &name)
{
    const QString usual = objectFile(folder, name, QStringLiteral(".frm"));
    if (QFile::exists(usual))
        return usual;
    const QStringList files = QDir(folder).entryList(QDir::Files | QDir::Hidden);
    for (const QString &file : files) {
        if (file.size() == name.size() + 4 && file.startsWith(name) &&
            file.endsWith(QStringLiteral(".frm"), Qt::CaseInsensitive))
            return withSeparator(folder) + file;
    }
    refuse(usual, QStringLiteral("ファイルがありません。"));
}

// A link may lead to any file that the server can read.
void requireOrdinaryFile(const QString &path)
{
    const QFileInfo file(path);
    if (file.isSymLink() || !file.isFile())
        refuse(path, QStringLiteral("通常のファイルではありません。"));
}

QString readText(const QString &path)
{
    constexpr qint64 largest = 16 * 1024 * 1024;
    requireOrdinaryFile(path);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        refuse(path, file.errorString());
    if (file.size() > largest)
        refuse(path, QStringLiteral("定義としては大きすぎます。"));
    const QByteArray bytes = file.readAll();
    QStringDecoder decoder(QStringDecoder::Utf8);
    const QString text = decoder(bytes);
    if (file.error() != QFile::NoError || decoder.hasError() || text.contains(QChar::Null))
        refuse(path, QStringLiteral("定義のテキストではありません。"));
    return text.trimmed();
}

// A file of which the server wrote less than it meant to ends within a line. Where it may be read by the
// server alone, its being there must do.
void checkRows(const QString &path)
{
    QFile file(path);
    if (!file.exists())
        refuse(path, QStringLiteral("行のファイルがありません。"));
    requireOrdinaryFile(path);
    if (!file.open(QIODevice::ReadOnly) || file.size() == 0)
        return;
    file.seek(file.size() - 1);
    if (file.read(1) != "\n")
        refuse(path, QStringLiteral("行のファイルが途中で終わっています。"));
}

Definition readDefinition(const QString &folder, const QString &name)
{
    const QString path = definitionPath(folder, name);
    Definition definition{name, readText(path), false, {}};
    definition.isView = isViewDefinition(definition.statement, name);
    if (!definition.isView && !isTableDefinition(definition.statement, name))
        refuse(path, QStringLiteral("「%1」だけの定義(CREATE文)ではありません。").arg(name));
    if (definition.isView)
        return definition;
    definition.rowsPath = objectFile(folder, name, QStringLiteral(".dat"));
    checkRows(definition.rowsPath);
    return definition;
}

// Whether a view's text holds the name of one of the other views. A mere column of that name counts too: that
// costs nothing but the order.
bool readsAnyOf(const Definition &view, const std::vector<Definition> &others)
{
    return std::ranges::any_of(others, [&](const Definition &other) {
        return other.name != view.name && view.statement.contains(quotedName(other.name));
    });
}

// The server refuses a view of something that is not there yet.
std::vector<Definition> inOrder(std::vector<Definition> definitions)
{
    const auto firstView = std::stable_partition(definitions.begin(), definitions.end(),
                                                 [](const Definition &each) { return !each.isView; });
    std::vector<Definition> views(firstView, definitions.end());
    definitions.erase(firstView, definitions.end());
    while (!views.empty()) {
        auto next =
            std::ranges::find_if(views, [&](const Definition &view) { return !readsAnyOf(view, views); });
        if (next == views.end())
            next = views.begin();
        definitions.push_back(*next);
        views.erase(next);
    }
    return definitions;
}

} // namespace

std::vector<Definition> readDefinitions(const RestoreChoice &choice)
{
    std::vector<Definition> definitions;
    for (const QString &name : choice.names)
        definitions.push_back(readDefinition(choice.folder, name));
    return inOrder(std::move(definitions));
}
