// Moves pixels between host buffers (alpha, red, green, blue per pixel; 8-bit, 16-bit or float
// channels) and RGBA float images shared with GL. The program is built once per channel size
// with OUTPUT_BPC defined to 32, 16 or 8.

#if OUTPUT_BPC == 32
#define CHANNEL_TYPE float
#define BUFFER_TYPE float4
#elif OUTPUT_BPC == 16
#define CHANNEL_TYPE ushort
#define BUFFER_TYPE ushort4
#else
#define CHANNEL_TYPE uchar
#define BUFFER_TYPE uchar4
#endif

// The largest 16-bit channel value the host uses: its 16-bit pixels run from 0 to 32767.
#define MAX_16BIT 32767.0f

__constant sampler_t pixelSampler = CLK_NORMALIZED_COORDS_FALSE | CLK_ADDRESS_CLAMP |
                                    CLK_FILTER_NEAREST;

// Row y of the host buffer starts at byte y * rowBytes. vload4/vstore4 only need the row to be
// aligned to one channel, not to a whole pixel vector.
__global CHANNEL_TYPE* bufferLine(__global uchar* data, uint rowBytes, int y)
{
    return (__global CHANNEL_TYPE*)(data + (size_t)y * rowBytes);
}

// Accumulation image (premultiplied RGBA float) to host pixels (straight colour, gamma
// applied to colour only).
__kernel void output(__read_only image2d_t inImage, __global uchar* outData, uint rowBytes,
                     float gamma)
{
    int x = get_global_id(0);
    int y = get_global_id(1);

    float4 c = read_imagef(inImage, pixelSampler, (int2)(x, y));
    float a = clamp(c.w, 0.0f, 1.0f);
    float3 rgb = c.xyz;
    if (a > 0.0f) {
        rgb /= a;
    }
    rgb = pow(rgb, (float3)(gamma));
    float4 argb = (float4)(a, rgb);

#if OUTPUT_BPC == 32
    BUFFER_TYPE pixel = argb;
#elif OUTPUT_BPC == 16
    // Scale to the full 16-bit range, then halve, so that 1.0 lands on 32767 and never on
    // 32768.
    BUFFER_TYPE pixel = convert_ushort4_sat(argb * 65535.0f) / (ushort4)(2);
#else
    BUFFER_TYPE pixel = convert_uchar4_sat(argb * 255.0f);
#endif
    vstore4(pixel, x, bufferLine(outData, rowBytes, y));
}

// Host pixels to an RGBA float image, values unchanged apart from the scale to 0..1.
__kernel void input(__write_only image2d_t outImage, __global uchar* inData, uint rowBytes)
{
    int x = get_global_id(0);
    int y = get_global_id(1);

    BUFFER_TYPE pixel = vload4(x, bufferLine(inData, rowBytes, y));
#if OUTPUT_BPC == 32
    float4 argb = pixel;
#elif OUTPUT_BPC == 16
    float4 argb = convert_float4(pixel) / MAX_16BIT;
#else
    float4 argb = convert_float4(pixel) / 255.0f;
#endif
    write_imagef(outImage, (int2)(x, y), argb.yzwx);
}
