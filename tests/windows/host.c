/* A Windows host of pixmisc.dll, as the viewer uses it: loads the DLL with
 * LoadLibraryA, looks every export up with GetProcAddress and calls them as
 * C-convention function pointers. Converts every sample of SAMPLES\*.list
 * (first two columns: source and target name) into OUT\<list>-<source>\<target>,
 * with that folder as working directory and the source copied there with
 * the samples of the same stem, its side files (some
 * converters name what they write after the source path as given, so both
 * systems get the same bare name); then the first sample once more from its
 * full path into a folder with an 8-bit code-page name (OUT\cp-\xe9t\xe9). After
 * FreeLibrary no private temporary folder of this process may be left.
 *
 * Usage: host.exe DLL SAMPLES OUT       (Windows paths)
 * Exit status: 0 when every export was found and nothing was left behind. */
#include <stdio.h>
#include <string.h>
#include <windows.h>

typedef int(__cdecl *ConvertFn)(const char *, const char *);
typedef int(__cdecl *PreviewFn)(const char *, unsigned char **);
typedef void(__cdecl *FreeFn)(void *);
typedef const char *(__cdecl *VersionFn)(void);

static const char *const kExports[] = {
    "pixMISC", "seeMISC", "seeMultiMISC", "compteFichiers", "compteFichiers_2", "compteFichiersPNG",
    "compteFichiersTIFF", "compteFichiersGIF", "compteFichiersBMP", "compteFichiersBMPelse",
    "compteFichiersDIB", "compteFichiersPPT", "compteFichiers_PPS_jpeg", "extract_thumbnail_from_jpeg",
    "PPTtoJPG", "FLItoPPM", "get_nb_frames_from_flc", "get_nb_frames_from_flm", "PC1toIFF", "PGMtoASCII",
    "pixFree", "pixVersion"};

static ConvertFn convert;

/* GetProcAddress's result as the function type it really is */
static void *Export(HMODULE dll, const char *name) { return (void *)(INT_PTR)GetProcAddress(dll, name); }
static int failures;

/* OUT\FOLDER\TARGET from SAMPLES\SOURCE, run from OUT\FOLDER; with COPY the
 * source is copied there first and given by its bare name */
static void ConvertOne(const char *samples, const char *out, const char *folder, const char *source,
                       const char *target, int copy) {
  char dir[MAX_PATH], src[MAX_PATH], dst[MAX_PATH];
  snprintf(dir, sizeof dir, "%s\\%s", out, folder);
  snprintf(src, sizeof src, "%s\\%s", samples, source);
  snprintf(dst, sizeof dst, "%s\\%s", dir, target);
  if (!CreateDirectoryA(dir, NULL) && GetLastError() != ERROR_ALREADY_EXISTS) {
    printf("cannot make %s\n", dir);
    ++failures;
    return;
  }
  if (copy) {
    char stem[MAX_PATH], pattern[MAX_PATH * 2];
    snprintf(stem, sizeof stem, "%s", source);
    char *dot = strrchr(stem, '.');
    if (dot) *dot = 0;
    char there[MAX_PATH * 2];
    snprintf(there, sizeof there, "%s\\%s", dir, source);
    if (!CopyFileA(src, there, FALSE)) {
      printf("cannot copy %s\n", src);
      ++failures;
    }
    snprintf(pattern, sizeof pattern, "%s\\%s.*", samples, stem);
    WIN32_FIND_DATAA found;
    HANDLE h = FindFirstFileA(pattern, &found);
    if (h != INVALID_HANDLE_VALUE) {
      do {
        char from[MAX_PATH * 2], to[MAX_PATH * 2];
        snprintf(from, sizeof from, "%s\\%s", samples, found.cFileName);
        snprintf(to, sizeof to, "%s\\%s", dir, found.cFileName);
        if (!CopyFileA(from, to, FALSE)) {
          printf("cannot copy %s\n", from);
          ++failures;
        }
      } while (FindNextFileA(h, &found));
      FindClose(h);
    }
    snprintf(src, sizeof src, "%s", source);
  }
  char previous[MAX_PATH];
  GetCurrentDirectoryA(sizeof previous, previous);
  SetCurrentDirectoryA(dir);
  printf("%s %s %d\n", folder, target, convert(src, dst));
  SetCurrentDirectoryA(previous);
}

static void ConvertList(const char *samples, const char *out, const char *list, char *first_src,
                        char *first_dst) {
  char path[MAX_PATH], line[1024];
  snprintf(path, sizeof path, "%s\\%s", samples, list);
  FILE *f = fopen(path, "r");
  if (!f) return;
  char stem[MAX_PATH];
  snprintf(stem, sizeof stem, "%s", list);
  *strrchr(stem, '.') = 0;
  while (fgets(line, sizeof line, f)) {
    char source[MAX_PATH], target[MAX_PATH], folder[MAX_PATH * 2];
    if (line[0] == '#' || sscanf(line, "%259s %259s", source, target) != 2) continue;
    snprintf(folder, sizeof folder, "%s-%s", stem, source);
    ConvertOne(samples, out, folder, source, target, 1);
    if (!*first_src) {
      strcpy(first_src, source);
      strcpy(first_dst, target);
    }
  }
  fclose(f);
}

int main(int argc, char **argv) {
  if (argc != 4) {
    fprintf(stderr, "usage: host.exe DLL SAMPLES OUT\n");
    return 2;
  }
  /* unbuffered, so that what the library prints stands right before the
   * result line of its sample */
  setvbuf(stdout, NULL, _IONBF, 0);
  HMODULE dll = LoadLibraryA(argv[1]);
  if (!dll) {
    printf("LoadLibraryA(%s) failed: %lu\n", argv[1], (unsigned long)GetLastError());
    return 1;
  }
  for (size_t i = 0; i < sizeof kExports / sizeof kExports[0]; ++i) {
    if (!GetProcAddress(dll, kExports[i])) {
      printf("missing export %s\n", kExports[i]);
      ++failures;
    }
  }
  convert = (ConvertFn)Export(dll, "pixMISC");
  VersionFn version = (VersionFn)Export(dll, "pixVersion");
  PreviewFn preview = (PreviewFn)Export(dll, "seeMISC");
  FreeFn release = (FreeFn)Export(dll, "pixFree");
  if (!convert || !version || !preview || !release) return 1;
  printf("pixmisc %s\n", version());

  char pattern[MAX_PATH], first_src[MAX_PATH] = "", first_dst[MAX_PATH] = "";
  snprintf(pattern, sizeof pattern, "%s\\*.list", argv[2]);
  WIN32_FIND_DATAA found;
  HANDLE h = FindFirstFileA(pattern, &found);
  if (h != INVALID_HANDLE_VALUE) {
    /* in name order, as the comparing script does */
    char names[64][MAX_PATH];
    int n = 0;
    do {
      if (n < 64) snprintf(names[n++], MAX_PATH, "%s", found.cFileName);
    } while (FindNextFileA(h, &found));
    FindClose(h);
    for (int i = 1; i < n; ++i)
      for (int j = i; j > 0 && strcmp(names[j - 1], names[j]) > 0; --j) {
        char t[MAX_PATH];
        strcpy(t, names[j]);
        strcpy(names[j], names[j - 1]);
        strcpy(names[j - 1], t);
      }
    for (int i = 0; i < n; ++i) ConvertList(argv[2], argv[3], names[i], first_src, first_dst);
  }
  if (*first_src) ConvertOne(argv[2], argv[3], "cp-\xe9t\xe9", first_src, first_dst, 0);

  /* a preview block comes back through the pointer and goes back with pixFree */
  unsigned char *block = NULL;
  char src[MAX_PATH];
  snprintf(src, sizeof src, "%s\\%s", argv[2], "nothing.none");
  if (preview(src, &block) != 0 || block) {
    printf("seeMISC of an unknown kind returned a block\n");
    ++failures;
  }
  release(block);

  char temp[MAX_PATH];
  GetTempPathA(sizeof temp, temp);
  FreeLibrary(dll);
  snprintf(pattern, sizeof pattern, "%spixmisc-%lu-*", temp, (unsigned long)GetCurrentProcessId());
  h = FindFirstFileA(pattern, &found);
  if (h != INVALID_HANDLE_VALUE) {
    printf("left behind: %s%s\n", temp, found.cFileName);
    FindClose(h);
    ++failures;
  }
  printf("host: %d failures\n", failures);
  return failures ? 1 : 0;
}
