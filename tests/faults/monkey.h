#pragma once

#include <QObject>
#include <QPoint>
#include <QRandomGenerator>

#include <cstdio>
#include <functional>

class QDialog;
class QWidget;

// A user without a plan: clicks and types at random over all windows of the program that are shown, also
// while something runs, and answers every box. The same seed starts the same walk; how the server's answers
// fall in with it is the machine's.
class Monkey : public QObject {
    Q_OBJECT

public:
    // folder: what file dialogs get. Each action is written to the log before it is done.
    Monkey(quint32 seed, QString folder, std::FILE *log);

    // What a user would have to say to be connected; called now and then.
    std::function<void()> connectAgain;

    // No more actions of its own; open boxes are still answered, so that what runs comes to its end.
    void finish() { m_isFinishing = true; }
    int actions() const { return m_actions; }

private:
    void act();
    void actOn(QWidget &widget);
    void answer(QDialog &dialog);
    void useMenu(QWidget &menu);
    void clickAt(QWidget &widget);
    void type(QWidget &widget);
    QWidget *randomWindow();
    QWidget *randomControl(const QWidget &window);

    int below(qsizetype end) { return m_random.bounded(static_cast<int>(end)); }
    bool oneIn(int count) { return m_random.bounded(count) == 0; }
    template <class List>
    auto one(const List &list)
    {
        return list.value(list.isEmpty() ? 0 : below(list.size()));
    }
    void note(const char *what, const QWidget &widget, const QString &detail = {});

    QRandomGenerator m_random;
    QString m_folder;
    std::FILE *m_log;
    int m_actions = 0;
    int m_depth = 0;
    bool m_isFinishing = false;
};
