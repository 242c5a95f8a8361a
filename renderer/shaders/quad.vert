#version 330

layout(location = 0) in vec2 inPosition;
out vec2 textureCoords;

void main()
{
    gl_Position = vec4(inPosition * 2.0 - 1.0, 0.0, 1.0);
    textureCoords = inPosition;
}
