#pragma once

#include <QHash>
#include <QObject>
#include <QSize>
#include <QStringList>

class QWidget;

// Lets the fonts of some of a window's controls grow and shrink with the window; without names every font
// has its own size again. The size at the first showing counts as one to one.
class FontScaling : public QObject {
    Q_OBJECT

public:
    explicit FontScaling(QWidget *window);

    // Object names of the controls; an empty list switches the scaling off.
    void setNames(const QStringList &names);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void apply();
    void scale(QWidget &control, double factor);

    QWidget *m_window;
    QSize m_baseSize;
    QStringList m_names;
    QHash<QString, double> m_basePoints; // font size of each control before any scaling
};
