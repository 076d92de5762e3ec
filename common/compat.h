// Compiler differences the headers need to paper over.
#pragma once

#if defined(__MINGW32__)
// mingw-w64's C++ library formats with its own standard printf
// (__USE_MINGW_ANSI_STDIO: %zu, %lld), not with the system DLL's
#define PIX_PRINTF(fmt, args) __attribute__((format(gnu_printf, fmt, args)))
#elif defined(__GNUC__) || defined(__clang__)
#define PIX_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define PIX_PRINTF(fmt, args)
#endif
