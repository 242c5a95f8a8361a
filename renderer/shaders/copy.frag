#version 330

uniform sampler2D textureSampler;
in vec2 textureCoords;
out vec4 outColor;

void main()
{
    outColor = texture(textureSampler, textureCoords);
}
