/*
 * gvdefs.h -- linkage and calling convention of every GVTALC export.
 *
 * Exports use the platform's standard calling convention (WINAPI, stdcall);
 * the few that take a variable argument list are cdecl. Every prototype in
 * the family headers is written as
 *     GVAPI(return type) Name(arguments);
 *     GVAPIV(return type) Name(format, ...);
 */
#ifndef GVDEFS_H
#define GVDEFS_H

#include <windows.h>

#ifdef __cplusplus
#define GV_EXTERN_C extern "C"
#else
#define GV_EXTERN_C extern
#endif

#define GVAPI(ret)  GV_EXTERN_C ret WINAPI
#define GVAPIV(ret) GV_EXTERN_C ret __cdecl

/* The kernel version this header set describes. */
#define GVKERNEL_VERSION        0x0100000C
#define GVKERNEL_INTERFACE_LEVEL 1

#endif /* GVDEFS_H */
