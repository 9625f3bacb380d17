#include "rows/rowedits.h"

std::vector<QStringList> cellsOfBlock(const QString &block)
{
    std::vector<QStringList> lines(1, QStringList(QString()));
    bool isQuoted = false, isAtStart = true;
    for (qsizetype i = 0; i < block.size(); ++i) {
        const QChar c = block[i];
        QString &cell = lines.back().back();
        const bool startsQuotes = isAtStart && c == u'"';
        isAtStart = false;
        if (startsQuotes) {
            isQuoted = true;
        } else if (isQuoted && c == u'"') {
            isQuoted = i + 1 < block.size() && block[i + 1] == u'"';
            if (isQuoted)
                cell += block[++i];
        } else if (isQuoted) {
            cell += c;
        } else if (c == u'\t') {
            lines.back() << QString();
            isAtStart = true;
        } else if (c == u'\n' || c == u'\r') {
            if (c == u'\r' && i + 1 < block.size() && block[i + 1] == u'\n')
                ++i;
            if (i + 1 < block.size())
                lines.emplace_back(QStringList(QString()));
            isAtStart = true;
        } else {
            cell += c;
        }
    }
    return lines;
}

const RowEdits::Edit *RowEdits::of(int row) const
{
    const auto found = m_edits.find(row);
    return found == m_edits.end() ? nullptr : &found->second;
}

void RowEdits::set(int row, int column, const RowValue &value, const RowValue &asRead)
{
    Edit &edit = m_edits[row];
    if (edit.kind == RowChange::Kind::Deleted)
        return;
    edit.refusal.clear();
    if (edit.kind == RowChange::Kind::Changed && value == asRead)
        edit.values.erase(column);
    else
        edit.values[column] = value;
    if (edit.kind == RowChange::Kind::Changed && edit.values.empty())
        m_edits.erase(row);
}

void RowEdits::add(int row, std::map<int, RowValue> values)
{
    m_edits[row] = {RowChange::Kind::Added, std::move(values), {}};
}

bool RowEdits::toggleDeletion(int row)
{
    const auto found = m_edits.find(row);
    if (found == m_edits.end() || found->second.kind == RowChange::Kind::Changed) {
        m_edits[row] = {RowChange::Kind::Deleted, {}, {}};
        return true;
    }
    const bool wasOnServer = found->second.kind == RowChange::Kind::Deleted;
    m_edits.erase(found);
    return wasOnServer;
}

void RowEdits::refuse(int row, const QString &words)
{
    if (const auto found = m_edits.find(row); found != m_edits.end())
        found->second.refusal = words;
}
