#pragma once

#include "rows/rowvalue.h"

#include <QWidget>

// Values of several lines, bytes, JSON and SETs are edited in a window of their own.
bool needsWindow(const TableColumn &column, const RowValue &value);
// Shows that window, "valueEditor"; nothing: it was cancelled, or the value left as it was.
std::optional<RowValue> askForValue(QWidget *parent, const TableColumn &column, const RowValue &value);

// Whether a file's bytes can be a value of the column; and what keeps these from being one, empty: nothing
// that is known here.
bool takesFile(const TableColumn &column);
QString whyNoValue(const TableColumn &column, const QByteArray &bytes);

// Empty for a text that is JSON, else where and why it is not.
QString whyNotJson(const QString &text);
