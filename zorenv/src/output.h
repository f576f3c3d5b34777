// Standard output at the end of a run: whether all that was printed has got out.
//
// Nothing asks after a single print, and no step of a run stops for one that failed. But a script
// that is not whole must not look like success:
//
//   open_output();           first of all
//   ...                      prints
//   if (!output_taken()) ...   at the end, and before a program is started: status 1
#ifndef OUTPUT_H
#define OUTPUT_H

// From now on a file-size limit is an error of the write that meets it, and no signal.
void open_output();

// Around the start of a program, which is to find the signals as this process did: lend before,
// open again behind.
void lend_output();

// Writes what is still held back. False if anything printed so far was not taken; the user is told
// once, in one line on standard error. Needs the framework. Makes no system call if nothing is held
// back.
bool output_taken();

#endif
