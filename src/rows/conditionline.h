#pragma once

#include <QLineEdit>

class QCompleter;
class QMenu;
class QStringListModel;

// A line for a piece of SQL: completes the names of columns while one types, and offers the last pieces that
// were used (the button at its end, or Alt+Down).
class ConditionLine : public QLineEdit {
    Q_OBJECT

public:
    explicit ConditionLine(QWidget *parent = nullptr);

    void setNames(const QStringList &columns);
    void setLastUsed(const QStringList &texts); // newest first

protected:
    void showEvent(QShowEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void makeCompleter();
    void completeWord();
    void insertWord(const QString &name);
    void openLastUsed();
    int startOfWord() const;

    QStringListModel *m_names;
    QCompleter *m_completer = nullptr; // made for the first word
    QStringList m_lastUsed;
    QAction *m_openLastUsed;
};
