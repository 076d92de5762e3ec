/* A host program of the installed library: prints the version, converts
 * SOURCE into TARGET and prints the route's result (its meaning depends on the
 * route: the caller checks the files written). */
#include <stdio.h>

#include <pixmisc.h>

int main(int argc, char **argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: host SOURCE TARGET\n");
    return 2;
  }
  int result = pixMISC(argv[1], argv[2]);
  printf("pixmisc %s: %d\n", pixVersion(), result);
  return 0;
}
