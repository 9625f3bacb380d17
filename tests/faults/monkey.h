#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPoint>
#include <QRandomGenerator>
#include <QSet>
#include <QStringList>

#include <cstdio>

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

    void start();
    // No more actions of its own; open boxes are still answered, so that what runs comes to its end.
    void finish() { m_isFinishing = true; }
    int actions() const { return m_actions; }
    // Whether a file dialog was up within the last milliseconds: building one, icons and all, is the
    // toolkit's own work.
    bool metFileDialog(double milliseconds) const
    {
        return m_sinceFileDialog.isValid() && static_cast<double>(m_sinceFileDialog.elapsed()) < milliseconds;
    }

private:
    void act();
    void actOn(QWidget &widget);
    void answer(QDialog &dialog);
    void useMenu(QWidget &menu);
    void clickAt(QWidget &widget);
    void type(QWidget &widget);
    QWidget *randomControl(QWidget &window);
    QWidget *randomWindow();

    int below(qsizetype end) { return m_random.bounded(static_cast<int>(end)); }
    bool oneIn(int count) { return m_random.bounded(count) == 0; }
    void note(const char *what, const QWidget &widget, const QString &detail = {});

    QRandomGenerator m_random;
    QString m_folder;
    std::FILE *m_log;
    int m_actions = 0;
    int m_depth = 0;
    bool m_isFinishing = false;
    QSet<QString> m_tried;
    QElapsedTimer m_sinceFileDialog;
};
