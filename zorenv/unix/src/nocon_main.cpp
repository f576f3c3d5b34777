#include "mymain.h"

int main(int argc, char** argv) {
  return mymain(argc, argv);
}
