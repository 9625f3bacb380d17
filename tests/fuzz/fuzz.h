#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <string_view>
#include <vector>

// One fuzzer is one file that defines these two.

// What the search starts from. Written into a folder beside the program, where the finds are added.
std::vector<std::string_view> seeds();
// Must hold for any bytes. May throw Failure; any other exception ends the program, as a false claim does.
void check(const QByteArray &bytes);

// Ends the program with the claim and the texts when it does not hold.
void require(bool holds, const char *claim, const QStringList &texts = {});

// A few texts out of one input, divided by bytes of value 1; always `count` of them.
QStringList texts(const QByteArray &bytes, int count);
// Without blanks, TABs and line ends: what a change of layout must leave alone.
QString squeezed(const QString &text);
