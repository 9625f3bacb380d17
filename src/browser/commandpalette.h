#pragma once

#include <QDialog>

#include <functional>
#include <vector>

class QLineEdit;
class QListWidget;

// One thing that the palette finds.
struct PaletteEntry {
    QString name, kind, key = {};
    QString hidden = {};        // found as well, but not shown
    QString reasonAgainst = {}; // it cannot be chosen now
    std::function<void()> choose = {};
};

// Finds commands and objects by name while one types, whatever their case and width; Enter or a click chooses
// one.
class CommandPalette : public QDialog {
    Q_OBJECT

public:
    CommandPalette(std::vector<PaletteEntry> entries, QWidget *parent);

    // What was chosen; null: nothing. To be carried out once the palette is closed.
    const PaletteEntry *chosen() const { return m_chosen; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void find(const QString &text);
    void choose();

    const std::vector<PaletteEntry> m_entries;
    const PaletteEntry *m_chosen = nullptr;
    QLineEdit *m_text;
    QListWidget *m_list;
};
