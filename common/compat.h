// Compiler differences the headers need to paper over.
#pragma once

#if defined(__GNUC__) || defined(__clang__)
#define PIX_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define PIX_PRINTF(fmt, args)
#endif
