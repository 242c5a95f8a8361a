#pragma once

#include <array>

#include "plugin/param_specs.h"

// Every parameter after the header control, in registration order (host index 2 onward).
// The order fixes the host indices that saved projects refer to: append, never reorder.
inline constexpr std::array kEffectParams = std::to_array<ParamSpec>({
    PopupParam{PARAM_OBJECT, "3D Object", "Sphere|Hemisphere", 1, false},
    FloatSliderParam{PARAM_RADIUS, "Radius", 0.0f, 100000.0f, 200.0f, 1, 0.00015f},
    Point3dParam{PARAM_POSITION, "Position", 50.0, 50.0, 0.0},
    AngleParam{PARAM_ROTATION_X, "Rotation X"},
    AngleParam{PARAM_ROTATION_Y, "Rotation Y"},
    AngleParam{PARAM_ROTATION_Z, "Rotation Z"},
    PopupParam{PARAM_SURFACE, "Surface", "All|Front|Back", 2, false},

    GroupStartParam{PARAM_MATERIAL_GROUP, "Material", false},
    ColorParam{PARAM_COLOR, "Color", 1.0f, 1.0f, 1.0f},
    FloatSliderParam{PARAM_DIFFUSE, "Diffuse", 0.0f, 10.0f, 1.0f, 2, 0.1f},
    FloatSliderParam{PARAM_GLOSSINESS, "Glossiness", 0.0f, 1.0f, 1.0f, 2, 1.0f},
    FloatSliderParam{PARAM_SPECULAR, "Specular", 0.0f, 10.0f, 1.0f, 2, 0.1f},
    FloatSliderParam{PARAM_REFLECTIVITY, "Reflectivity", 0.0f, 10.0f, 0.0f, 2, 0.1f},
    ColorParam{PARAM_ILLUMINATION_COLOR, "Illumination Color", 1.0f, 1.0f, 1.0f},
    FloatSliderParam{PARAM_ILLUMINATION, "Illumination", 0.0f, 100.0f, 0.0f, 2, 0.01f},

    GroupStartParam{PARAM_ILLUMINATION_OPTIONS_GROUP, "Illumination Options", true},
    FloatSliderParam{PARAM_FRESNEL, "Fresnel", -1.0f, 1.0f, 0.0f, 2, 0.5f},
    FloatSliderParam{PARAM_FRESNEL_BIAS, "Fresnel Bias", 0.0f, 10.0f, 1.0f, 2, 0.2f},
    FloatSliderParam{PARAM_SHADOW_LIGHT, "Shadow/Light", -1.0f, 1.0f, 0.0f, 2, 0.6f},
    FloatSliderParam{PARAM_SHADOW_LIGHT_CONTRAST, "Shadow/Light Contrast", 0.01f, 10.0f, 3.0f, 2,
                     1.0f},
    FloatSliderParam{PARAM_SHADOW_LIGHT_EXPANSION, "Shadow/Light Expansion", -1.0f, 1.0f, 0.0f, 2,
                     0.2f},
    FloatSliderParam{PARAM_BUMP_INFLUENCE, "Bump Influence", 0.0f, 1.0f, 1.0f, 2, 1.0f},
    GroupEndParam{PARAM_ILLUMINATION_OPTIONS_END},

    FloatSliderParam{PARAM_AMBIENT, "Ambient", 0.0f, 10.0f, 1.0f, 2, 0.1f},
    FloatSliderParam{PARAM_OPACITY, "Opacity", 0.0f, 1.0f, 1.0f, 2, 1.0f},

    GroupStartParam{PARAM_ADVANCED_GROUP, "Advanced Options", true},
    FloatSliderParam{PARAM_EDGE_FEATHER, "Edge Feather", 0.0f, 1.0f, 0.0f, 2, 0.2f},
    FloatSliderParam{PARAM_EDGE_SHRINK, "Edge Shrink", 0.0f, 1.0f, 0.0f, 2, 0.2f},
    CheckboxParam{PARAM_UNLIT_ONLY, "Unlit Only", false, true},
    GroupEndParam{PARAM_ADVANCED_END},
    GroupEndParam{PARAM_MATERIAL_END},

    GroupStartParam{PARAM_MAPS_GROUP, "Maps", true},
    LayerParam{PARAM_DIFFUSE_LAYER, "Diffuse Layer"},
    FloatSliderParam{PARAM_DIFFUSE_GAMMA, "Diffuse Gamma", 0.01f, 10.0f, 2.2f, 2, 0.2f},
    FloatSliderParam{PARAM_DIFFUSE_BRIGHTNESS, "Diffuse Brightness", 0.0f, 10.0f, 1.0f, 2, 0.2f},
    FloatSliderParam{PARAM_DIFFUSE_BLEND, "Diffuse Blend", 0.0f, 1.0f, 1.0f, 2, 1.0f},
    LayerParam{PARAM_GLOSSINESS_LAYER, "Glossiness Layer"},
    FloatSliderParam{PARAM_GLOSSINESS_GAMMA, "Glossiness Gamma", 0.01f, 10.0f, 1.0f, 2, 0.2f},
    FloatSliderParam{PARAM_GLOSSINESS_BRIGHTNESS, "Glossiness Brightness", 0.0f, 10.0f, 1.0f, 2,
                     0.2f},
    LayerParam{PARAM_ILLUMINATION_LAYER, "Illumination Layer"},
    FloatSliderParam{PARAM_ILLUMINATION_GAMMA, "Illumination Gamma", 0.01f, 10.0f, 2.2f, 2, 0.2f},
    FloatSliderParam{PARAM_ILLUMINATION_BRIGHTNESS, "Illumination Brightness", 0.0f, 10.0f, 1.0f, 2,
                     0.2f},
    LayerParam{PARAM_BUMP_LAYER, "Bump Map Layer"},
    FloatSliderParam{PARAM_BUMP_INTENSITY, "Bump Map Intensity", -10.0f, 10.0f, 1.0f, 2, 0.05f},
    CheckboxParam{PARAM_USE_NORMAL_MAP, "Use Normal Map", false, false},
    CheckboxParam{PARAM_FLIP_NORMAL_CHANNELS, "Flip Normal Channels", false, false},
    FloatSliderParam{PARAM_BUMP_FALLOFF, "Bump Falloff", 0.0f, 1.0f, 0.8f, 2, 1.0f},
    GroupEndParam{PARAM_MAPS_END},

    GroupStartParam{PARAM_UV_GROUP, "UV", true},
    PopupParam{PARAM_UV_TYPE, "UV Type", "Spherical|Box|Plane XY|Plane XZ|Plane ZY", 1, false},
    PopupParam{PARAM_UV_MODE, "UV Mode", "Repeat|Mirror", 1, false},
    FloatSliderParam{PARAM_UV_REPEAT_X, "UV Repeat X", -100.0f, 100.0f, 1.0f, 2, 0.01f},
    FloatSliderParam{PARAM_UV_REPEAT_Y, "UV Repeat Y", -100.0f, 100.0f, 1.0f, 2, 0.01f},
    FloatSliderParam{PARAM_UV_OFFSET_X, "UV Offset X", -100.0f, 100.0f, 0.0f, 2, 0.005f},
    FloatSliderParam{PARAM_UV_OFFSET_Y, "UV Offset Y", -100.0f, 100.0f, 0.0f, 2, 0.005f},
    AngleParam{PARAM_UV_ROTATION, "UV Rotation"},
    FloatSliderParam{PARAM_BOX_UV_FEATHERING, "Box UV Feathering", 0.0f, 1.0f, 0.2f, 2, 1.0f},
    GroupEndParam{PARAM_UV_END},

    GroupStartParam{PARAM_RENDER_GROUP, "Render", true},
    GroupStartParam{PARAM_ENVIRONMENT_GROUP, "Environment", true},
    LayerParam{PARAM_ENVIRONMENT_LAYER, "Environment Layer"},
    FloatSliderParam{PARAM_ENVIRONMENT_GAMMA, "Environment Gamma", 0.01f, 10.0f, 2.2f, 2, 0.2f},
    FloatSliderParam{PARAM_ENVIRONMENT_BRIGHTNESS, "Environment Brightness", 0.0f, 10.0f, 1.0f, 2,
                     0.2f},
    GroupStartParam{PARAM_ROTATE_ENVIRONMENT_GROUP, "Rotate Environment", true},
    AngleParam{PARAM_ENV_ROTATION_X, "Env. Rotation X"},
    AngleParam{PARAM_ENV_ROTATION_Y, "Env. Rotation Y"},
    AngleParam{PARAM_ENV_ROTATION_Z, "Env. Rotation Z"},
    GroupEndParam{PARAM_ROTATE_ENVIRONMENT_END},
    GroupEndParam{PARAM_ENVIRONMENT_END},

    GroupStartParam{PARAM_MOTION_BLUR_GROUP, "Motion Blur", true},
    PopupParam{PARAM_MOTION_BLUR, "Motion Blur", "Comp Settings|On|Off", 1, false},
    FloatSliderParam{PARAM_MOTION_BLUR_SAMPLES, "Motion Blur Samples", 3.0f, 200.0f, 6.0f, 0, 1.0f},
    FloatSliderParam{PARAM_SHUTTER_ANGLE, "Shutter Angle", 1.0f, 10000.0f, 180.0f, 0, 0.1f},
    GroupEndParam{PARAM_MOTION_BLUR_END},

    CheckboxParam{PARAM_USE_DEFAULT_LIGHTS, "Use Default Lights", true, false},
    FloatSliderParam{PARAM_GAMMA, "Gamma", 0.01f, 10.0f, 2.2f, 2, 0.2f},
    PopupParam{PARAM_MULTISAMPLING, "Multisampling", "0|2|4|8|16", 4, true},
    GroupEndParam{PARAM_RENDER_END},
});

// The header control (host index 1) is registered on its own, before this table.
static_assert(kEffectParams.size() == 78);
