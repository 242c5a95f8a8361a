#version 330

layout(location = 0) in vec4 inPosition;
layout(location = 1) in vec2 inTexCoords;
layout(location = 2) in vec3 inNormal;
layout(location = 3) in vec4 inTangent;

layout(std140) uniform TransformMatrices
{
    mat4 viewMatrix;
    mat4 projMatrix;
    vec2 viewSize;
};

uniform mat4 modelMatrix;
uniform mat4 normalMatrix;

out vec3 normal;
out vec3 pixelPosition;
out vec4 tangent;
out vec3 originalPosition;
out vec3 vertexPosition;
out vec3 vertexNormal;

void main()
{
    vec4 worldPosition = modelMatrix * inPosition;
    gl_Position = projMatrix * (viewMatrix * worldPosition);

    normal = mat3(normalMatrix) * inNormal;
    pixelPosition = worldPosition.xyz;
    tangent = vec4(mat3(modelMatrix) * inTangent.xyz, inTangent.w);
    // The box and plane projections work in model space, so the mesh's own position and
    // normal travel alongside the world-space ones.
    originalPosition = inPosition.xyz;
    vertexPosition = inPosition.xyz;
    vertexNormal = inNormal;
}
