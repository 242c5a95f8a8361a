#version 410 core

uniform sampler2D textureSampler;
uniform vec2 pixelSize;
uniform float scaleFactor;

in vec2 textureCoords;
out vec4 outColor;

// The height of the bump image at an offset in texels: the mean of its colour channels.
float sample_pixel(vec2 offset)
{
    vec3 color = texture(textureSampler, textureCoords + offset * pixelSize).rgb;
    return (color.r + color.g + color.b) / 3.0;
}

void main()
{
    float tl = sample_pixel(vec2(-1.0, -1.0));
    float t = sample_pixel(vec2(0.0, -1.0));
    float tr = sample_pixel(vec2(1.0, -1.0));
    float l = sample_pixel(vec2(-1.0, 0.0));
    float r = sample_pixel(vec2(1.0, 0.0));
    float bl = sample_pixel(vec2(-1.0, 1.0));
    float b = sample_pixel(vec2(0.0, 1.0));
    float br = sample_pixel(vec2(1.0, 1.0));

    float gx = (tr + 2.0 * r + br) - (tl + 2.0 * l + bl);
    float gy = (bl + 2.0 * b + br) - (tl + 2.0 * t + tr);

    // The 0.5 in z sets how strongly the relief tilts the normal.
    vec3 n = normalize(vec3(-gx * scaleFactor, -gy * scaleFactor, 0.5));
    outColor = vec4((n + 1.0) * 0.5, 1.0);
}
