/* floor LIST BYTES: the least that any program with the tool's task must do.
 *
 * Opens the data files that LIST names, one name to a line, in that order, and parses each with
 * Expat in the blocks that the tool reads; a file that does not exist is passed over. Then prints
 * BYTES bytes. Nothing is kept of what is parsed. What the tool takes beyond this program is the
 * cost of its own work.
 */
#include <expat.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

enum { BLOCK = 4096 };

static int parse(const char* name) {
  char block[BLOCK];
  XML_Parser parser;
  ssize_t length;
  int fd = open(name, O_RDONLY);
  int ok = 1;
  if (fd < 0) return 1;
  parser = XML_ParserCreate(NULL);
  if (!parser) return 0;
  do {
    length = read(fd, block, BLOCK);
    if (length < 0) ok = 0;
    if (ok && XML_Parse(parser, block, (int)length, length < BLOCK) != XML_STATUS_OK) ok = 0;
  } while (ok && length == BLOCK);
  XML_ParserFree(parser);
  close(fd);
  return ok;
}

/* Parses all files named in the list, which is changed. */
static int parse_all(char* list, size_t length) {
  char* end = list + length;
  while (list < end) {
    char* line_end = memchr(list, '\n', (size_t)(end - list));
    if (!line_end) return 0;
    *line_end = 0;
    if (!parse(list)) return 0;
    list = line_end + 1;
  }
  return 1;
}

static int print(size_t count) {
  static char bytes[BLOCK];
  memset(bytes, 'x', sizeof bytes);
  while (count > 0) {
    size_t piece = count < sizeof bytes ? count : sizeof bytes;
    if (fwrite(bytes, 1, piece, stdout) != piece) return 0;
    count -= piece;
  }
  return fflush(stdout) == 0;
}

int main(int argc, char** argv) {
  struct stat status;
  char* list;
  int fd;
  if (argc != 3) return 2;
  fd = open(argv[1], O_RDONLY);
  if (fd < 0 || fstat(fd, &status) != 0) return 2;
  if (status.st_size > 0) {
    /* Private: the names are cut apart in place. */
    list = mmap(NULL, (size_t)status.st_size, PROT_READ | PROT_WRITE, MAP_PRIVATE, fd, 0);
    if (list == MAP_FAILED || !parse_all(list, (size_t)status.st_size)) return 1;
  }
  close(fd);
  return print((size_t)strtoul(argv[2], NULL, 10)) ? 0 : 1;
}
