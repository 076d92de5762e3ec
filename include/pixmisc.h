/* Pixmisc: conversion library for odd picture formats.
 *
 * Every export takes 8-bit paths ('/' and '\' both separate directories) and
 * returns a signed 32-bit integer. Memory results are malloc'ed blocks of
 * size + 1 bytes (the last byte zero) handed back through an
 * `unsigned char **`; free them with pixFree. A memory-mode call that fails
 * leaves the caller's pointer untouched and returns 0.
 *
 * Every export may run on several threads at once on different files.
 * Nothing ends the process, waits for the console or reads standard input.
 */
#ifndef PIXMISC_H
#define PIXMISC_H

#ifdef __cplusplus
extern "C" {
#endif

/* On Windows the library's own build exports the functions (PIXMISC_BUILDING
 * is set for it alone), a host of the DLL imports them, and a program linked
 * with the static library (PIXMISC_STATIC) does neither. Every export uses the
 * C calling convention: the caller removes the arguments. Elsewhere the
 * library is built with hidden symbols, so the exports are marked visible
 * (entry/exports.map then keeps exactly them). */
#if defined(_WIN32)
#  if defined(PIXMISC_BUILDING)
#    define PIXMISC_API __declspec(dllexport)
#  elif defined(PIXMISC_STATIC)
#    define PIXMISC_API
#  else
#    define PIXMISC_API __declspec(dllimport)
#  endif
#  define PIXMISC_CALL __cdecl
#elif defined(__GNUC__)
#  define PIXMISC_API __attribute__((visibility("default")))
#  define PIXMISC_CALL
#else
#  define PIXMISC_API
#  define PIXMISC_CALL
#endif

/* Converts SOURCE into TARGET, choosing the converter by the two extensions.
 * Returns the converter's result unchanged: as a rule the number of files
 * written (0: nothing converted, also for a null target or an unknown pair);
 * a few converters return 0 for success or a negative code, see routes. */
PIXMISC_API int PIXMISC_CALL pixMISC(const char *source, const char *target);

/* Converts the one picture in SOURCE into memory (the converted file's bytes).
 * Returns the block size and stores the block through OUT; 0 when the
 * extension is not handled or the conversion failed. */
PIXMISC_API int PIXMISC_CALL seeMISC(const char *source, unsigned char **out);

/* Like seeMISC for containers: INDEX picks the picture (numbering is the
 * scanner's own, as a rule from 1). */
PIXMISC_API int PIXMISC_CALL seeMultiMISC(const char *source, int index, unsigned char **out);

/* Counting exports: the number of embedded pictures, also stored through
 * COUNT where there is one (not written when the file cannot be opened). */
PIXMISC_API int PIXMISC_CALL compteFichiers(const char *path, int *count);        /* JPEG by "JFIF"; 0 if unopenable */
PIXMISC_API int PIXMISC_CALL compteFichiers_2(const char *path);                  /* JPEG by FF D8 FF E0 */
PIXMISC_API int PIXMISC_CALL compteFichiersPNG(const char *path, int *count);     /* 512-byte blocks holding "PNG" */
PIXMISC_API int PIXMISC_CALL compteFichiersTIFF(const char *path);                /* occurrences of "II*" */
PIXMISC_API int PIXMISC_CALL compteFichiersGIF(const char *path, int *count);     /* 512-byte blocks holding "GIF89a" */
PIXMISC_API int PIXMISC_CALL compteFichiersBMP(const char *path, int *count);     /* "BMP" then "BM" */
PIXMISC_API int PIXMISC_CALL compteFichiersBMPelse(const char *path, int *count); /* bitmap file headers */
PIXMISC_API int PIXMISC_CALL compteFichiersDIB(const char *path, int *count);     /* -1 if unopenable */
PIXMISC_API int PIXMISC_CALL compteFichiersPPT(const char *path);                 /* PowerPoint JPEG records */
PIXMISC_API int PIXMISC_CALL compteFichiers_PPS_jpeg(const char *path);           /* JPEG streams of a .pps */

/* The Exif thumbnail of a JPEG file: its length (block through OUT), or 0. */
PIXMISC_API int PIXMISC_CALL extract_thumbnail_from_jpeg(const char *source, unsigned char **out);

/* The WANTED-th (from 1) JPEG picture of a PowerPoint file. With TARGET:
 * writes it and returns 1 (WANTED 0: every picture, returns the count).
 * With a null TARGET: returns its length, block through OUT. 0: none. */
PIXMISC_API int PIXMISC_CALL PPTtoJPG(const char *source, const char *target, int wanted, unsigned char **out);

/* FLI/FLC frames as PPM. FRAME -1: writes every frame beside TARGET and
 * returns frames + 1, or 0 / a negative code (-1 read error, -2 memory).
 * Other FRAME (from 1): that frame's PPM in memory, returns its length. */
PIXMISC_API int PIXMISC_CALL FLItoPPM(const char *source, const char *target, int frame, unsigned char **out);
PIXMISC_API int PIXMISC_CALL get_nb_frames_from_flc(const char *path); /* -1 unreadable, 0 not FLI/FLC */
PIXMISC_API int PIXMISC_CALL get_nb_frames_from_flm(const char *path); /* 0 when not a film strip */

/* Atari ST NEOchrome/Degas picture to IFF ILBM. With TARGET: 1 on success;
 * with a null TARGET: the ILBM's size, block through OUT. 0 on failure. */
PIXMISC_API int PIXMISC_CALL PC1toIFF(const char *source, const char *target, unsigned char **out);

/* PGM picture to a character picture. Returns 1 when the text was written,
 * 0 otherwise. COLUMNS/ROWS are used only when both are above 0. */
PIXMISC_API int PIXMISC_CALL PGMtoASCII(const char *source, const char *target, int unused,
                                        int average, int invert, int columns, int rows,
                                        const char *chars);

/* Frees a block returned by any export. */
PIXMISC_API void PIXMISC_CALL pixFree(void *block);

/* The library's version, "MAJOR.MINOR.PATCH" (a constant string). */
PIXMISC_API const char *PIXMISC_CALL pixVersion(void);

#ifdef __cplusplus
}
#endif

#endif
