// The driver: from a command line to a script or a program's end.
#ifndef MYMAIN_H
#define MYMAIN_H

// One run of the tool. Returns the exit status: 0 for success, 1 for every failure. Bad usage ends
// the process.
int mymain(int argc, char** argv);

#endif
