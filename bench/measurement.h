#pragma once

#include <QString>
#include <QStringList>

#include <functional>
#include <vector>

// What one run of a job took. Memory is resident memory of the process in megabytes.
struct Measurement {
    double seconds = 0;
    double idleMegabytes = 0;
    double peakMegabytes = 0;
    double stallMilliseconds = 0; // the longest time for which the event loop did not come round
};

// TARNWELL_BENCH_QUICK: one run with a tenth of the rows, for a look at a change.
int runs();
int rowCount();

// Does the job in this process.
Measurement measure(const std::function<void()> &job);

// Runs this program again with the arguments, so that its memory is its own, and reads what it printed
// by print(). A run that fails ends the program.
Measurement measureElsewhere(const QStringList &arguments);
void print(const Measurement &measurement);

// Two ways to do the same job, by turns, so that what else the machine does strikes both alike.
struct Turns {
    std::vector<Measurement> bare, ours;
};
Turns measureByTurns(const QStringList &bareArguments, const QStringList &ourArguments);

// The median of each figure.
Measurement median(const std::vector<Measurement> &runs);
