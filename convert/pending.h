// Placeholder for routines whose implementation has not landed yet: they accept
// the arguments of their entry and write nothing. Each family replaces its
// *_pending.cpp file with the real variants.
#pragma once
#include "convert/routine.h"

#define TESSIVA_PENDING_ROUTINE(name) \
    TESSIVA_DECLARE_ROUTINE(name) { (void)src, (void)srcWidth, (void)srcHeight, (void)srcPitch, (void)dst, (void)dstWidth, (void)dstHeight, (void)dstPitch; }
