#pragma once

// Started by ssh in place of a terminal (SSH_ASKPASS): shows what it asks, the program's first argument, and
// writes the user's answer to the standard output. The program's exit code: 0 for an answer.
int answerSsh();
