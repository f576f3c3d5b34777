// How the names of platforms relate: which are special cases of which.
//
// A platform is an operating system and an architecture with a '-' between them, such as
// "linux_2_4_20-i686". Two fixed graphs lead from each known word to more general ones:
//
//   linux_2_4 -> linux_2 -> linux -> unix -> all
//   x86_64 -> pentium_4 -> i686 -> pentium -> 486 -> 386 -> x86 -> all
//
// A word that is not in its graph is tried without its last '_' parts: linux_2_4_20 as linux_2_4. A
// name without '-' is an operating system on all architectures.
#ifndef VQOSARCH_H
#define VQOSARCH_H

// 1 if the specific name lies under the general one, in both words.
int platform_includes(char* general, char* specific);
int platform_included(char* specific, char* general);

// 1 if in each word either name lies under the other, not necessarily the same one.
int platform_overlaps(char* platform1, char* platform2);

// 1 if both words, as they stand, are in their graphs. For programs on this library.
int platform_known(char* str);

// The words of the two graphs, by their number from 0; null behind the last. In any order. For
// programs on this library.
const char* platform_system_word(int number);
const char* platform_architecture_word(int number);

// Whether the names are the same text, or not. The second is for programs on this library.
int platform_identical(char* a, char* b);
int platform_different(char* a, char* b);

#endif
