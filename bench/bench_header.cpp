// The head of the table that the other programs fill, line by line.
#include "table.h"

int main()
{
    printHeader();
    return 0;
}
