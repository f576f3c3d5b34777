#include "usage.h"

std::string Usage(std::string_view program) {
  return "usage:\n       " + std::string(program) +
         " [-r root] [-u] <product>... [--and <product>...]...\n"
         "[--user|--sys|--proc] [--bat|--sh|--csh|--posh|--exec program [args]]\n"
         "\nwhere\n"
         "   -r <root>        the root path of the installation\n"
         "   -u               undo the environment variable settings\n"
         "   -p <product>     the product to generate environment variable settings for\n"
         "   --user           update the Windows USER area of the registry\n"
         "   --system         update the Windows SYSTEM area of the registry\n"
         "   --proc           use the current process environment as the basis of change\n"
         "   --sh             generate a sh syntax shell script\n"
         "   --csh            generate a csh syntax shell script\n"
         "   --posh           generate a portable shell script\n"
         "   --exec           execute a program in the new environment\n"
         "   --ignore-missing do not give error messages if products named with -p are missing\n"
         "and\n"
         "   <product>   is   -p category version name rev [-v name value]...\n"
         "                    eg. -p QVD\n"
         "                        -p QVD Contents 1.8 5\n"
         "                        -p QVDS Contents 2.2 6 -v platform solaris-sparc\n\n"
         "-p product1 -p product2          checks for clashes between products\n"
         "-p product1 --and -p product2    product2 overrides product1\n"
         "\nDefault is --posh on Unix, --system on Windows.\n";
}
