// The process entry. It stands alone, so that tests can bring one of their own.
#include "mymain.h"

int main(int argc, char** argv) {
  return mymain(argc, argv);
}
