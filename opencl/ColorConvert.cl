// Kernels of the program ColorConvert, one work-item per pixel unless stated.
// Pitches arrive in 32-bit units. Colour arithmetic: BT.601 studio range in
// 12-bit fixed point, exactly as the processor routines compute it.
//
// Byte order of the 32-bit formats: RGB32 = B, G, R, A; YUV32 = V, U, Y, A.

// RGB32 to YUV32. Arguments: source, destination, width, height, source pitch,
// destination pitch. Global size width x height. Alpha is copied.
__kernel void RGB32toYUV32(__global const uchar4* src, __global uchar4* dst, int width, int height,
                           int srcPitch, int dstPitch)
{
    const int i = (int)get_global_id(0);
    const int y = i / width;
    const int x = i - y * width;
    if (y >= height)
        return;
    const uchar4 p = src[y * srcPitch + x];
    const int b = p.x, g = p.y, r = p.z;
    uchar4 o;
    o.x = (uchar)((1798 * r - 1507 * g - 291 * b + 526336) >> 12);
    o.y = (uchar)((-606 * r - 1192 * g + 1798 * b + 526336) >> 12);
    o.z = (uchar)((1053 * r + 2064 * g + 401 * b + 67584) >> 12);
    o.w = p.w;
    dst[y * dstPitch + x] = o;
}
