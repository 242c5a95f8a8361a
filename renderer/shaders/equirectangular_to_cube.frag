#version 410 core

uniform sampler2D textureSampler;
uniform vec3 initialCoord;
uniform vec3 coordIncX;
uniform vec3 coordIncY;

in vec2 textureCoords;
out vec4 outColor;

void main()
{
    vec3 d = initialCoord + textureCoords.x * coordIncX + textureCoords.y * coordIncY;
    float u = atan(d.x, d.z) / 6.28318531 + 0.5;
    float v = atan(d.y, sqrt(d.x * d.x + d.z * d.z)) / 3.1415 + 0.5;

    // u jumps from 1 to 0 behind the viewer; its derivative is taken from the direction
    // instead, which stays small there, so the seam does not drop to the smallest mip level.
    vec2 gx = vec2(length(dFdx(d.xy)) / 6.28318531, dFdx(v));
    vec2 gy = vec2(length(dFdy(d.xy)) / 6.28318531, dFdy(v));
    outColor = textureGrad(textureSampler, vec2(u, v), gx, gy);
}
