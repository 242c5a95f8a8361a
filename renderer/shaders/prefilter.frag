#version 410 core

uniform samplerCube textureSampler;
uniform sampler2D samplesSampler;
uniform vec3 initialCoord;
uniform vec3 coordIncX;
uniform vec3 coordIncY;
uniform float sampleLod;
uniform uint numSamples;
uniform uint roughnessLayer;

in vec2 textureCoords;
out vec4 outColor;

void main()
{
    // View and reflection directions are both taken to be the normal.
    vec3 N = normalize(initialCoord + textureCoords.x * coordIncX + textureCoords.y * coordIncY);
    vec3 up = abs(N.z) < 0.999 ? vec3(0.0, 0.0, 1.0) : vec3(1.0, 0.0, 0.0);
    vec3 X = normalize(cross(up, N));
    vec3 Y = cross(N, X);

    vec4 sum = vec4(0.0);
    float weight = 0.0;
    for (uint j = 0u; j < numSamples; ++j) {
        vec3 h = texelFetch(samplesSampler, ivec2(int(j), int(roughnessLayer)), 0).xyz;
        vec3 H = X * h.x + Y * h.y + N * h.z;
        vec3 L = 2.0 * dot(N, H) * H - N;
        float c = dot(N, L);
        if (c > 0.0) {
            sum += textureLod(textureSampler, L, sampleLod) * c;
            weight += c;
        }
    }
    // Sample 0 is the normal itself, so weight is at least 1.
    outColor = sum / weight;
}
