#version 330

// Shading model of the sphere: five maps, up to eight direct lights plus ambient light, a
// microfacet highlight, a prefiltered environment, self-illumination, a soft silhouette edge.
// Everything is straight (non-premultiplied) RGBA in linear light until the last line.
//
// Fixed for each program, and given as macros after the #version line: uvType (1 to 5),
// useDiffuseTexture, useGlossinessTexture, useIlluminationTexture, useNormalTexture,
// useEnvironmentTexture and unlitMode (each 0 or 1). The branches on them are resolved when
// the program is compiled.

// Light types; every type other than these two is a point light.
const int LT_PARALLEL = 0;
const int LT_SPOT = 1;
const int MAX_LIGHTS = 8;

const float PI = 3.1415926536;

const int UV_SPHERICAL = 1;
const int UV_BOX = 2;
const int UV_PLANE_XY = 3;
const int UV_PLANE_XZ = 4;

// The roughest level of the prefiltered environment cube.
const float ENVIRONMENT_MAX_LOD = 6.0;

struct LightProperties
{
    vec3 position;
    vec3 direction;
    vec4 color;
    int lightType;
    int falloffType;
    float falloff;
    float spotConeCos;
    float spotFeather;
    int pad0, pad1, pad2;
};

layout(std140) uniform Lights
{
    int numLights;
    int pad0, pad1, pad2;
    vec4 ambientLights;
    LightProperties lights[MAX_LIGHTS];
};

uniform mat4 normalMatrix;
uniform mat4 environmentRotation;
uniform vec3 eyePosition;
uniform vec4 modelColor;

uniform float diffuseGamma;
uniform float glossinessGamma;
uniform float illuminationGamma;
uniform float environmentGamma;
uniform float diffuseBrightness;
uniform float glossinessBrightness;
uniform float illuminationBrightness;
uniform float environmentBrightness;
uniform float diffuseBlend;

uniform vec4 illuminationColor;
uniform float ambientAmount;
uniform float diffuseAmount;
uniform float glossinessAmount;
uniform float specularAmount;
uniform float reflectivityAmount;
uniform float normalAmount;
uniform float normalInvertGreen;
uniform float clipLighting;

uniform float illuminationFresnel;
uniform float illuminationFresnelBias;
uniform float illuminationShadowLight;
uniform float illuminationShadowLightContrast;
uniform float illuminationShadowLightExpand;
uniform float illuminationBumpInfluence;

uniform vec2 uvRepeat;
uniform vec2 uvOffset;
uniform float uvFeathering;
uniform vec2 uvRotation;

uniform int flattenBottom;
uniform float edgeFeather;
uniform float edgeShrink;

uniform sampler2D diffuseSampler;
uniform sampler2D glossinessSampler;
uniform sampler2D illuminationSampler;
uniform sampler2D normalSampler;
uniform samplerCube environmentSampler;

in vec3 normal;
in vec3 pixelPosition;
in vec4 tangent;
in vec3 originalPosition;
in vec3 vertexPosition;
in vec3 vertexNormal;

out vec4 outColor;

struct SphericalCoords
{
    vec2 uv;
    vec2 gradX;
    vec2 gradY;
};

// uvRotation holds (cos t, sin t) of the map angle t.
vec2 rotateCoords(vec2 c)
{
    return vec2(c.x * uvRotation.x - c.y * uvRotation.y, c.x * uvRotation.y + c.y * uvRotation.x);
}

vec2 unrotateCoords(vec2 c)
{
    return vec2(c.x * uvRotation.x + c.y * uvRotation.y, c.y * uvRotation.x - c.x * uvRotation.y);
}

// Branchless RGB <-> HSV pair: the hue sector is found by ordering the channels with two
// selects instead of a chain of comparisons. The epsilon keeps black and grey (d = 0) finite.
vec4 rgb2hsv(vec4 c)
{
    const vec4 K = vec4(0.0, -1.0 / 3.0, 2.0 / 3.0, -1.0);
    vec4 p = c.g < c.b ? vec4(c.b, c.g, K.w, K.z) : vec4(c.g, c.b, K.x, K.y);
    vec4 q = c.r < p.x ? vec4(p.x, p.y, p.w, c.r) : vec4(c.r, p.y, p.z, p.x);
    float d = q.x - min(q.w, q.y);
    const float eps = 1.0e-10;
    return vec4(abs(q.z + (q.w - q.y) / (6.0 * d + eps)), d / (q.x + eps), q.x, c.a);
}

vec4 hsv2rgb(vec4 c)
{
    const vec4 K = vec4(1.0, 2.0 / 3.0, 1.0 / 3.0, 3.0);
    vec3 p = abs(fract(c.xxx + K.xyz) * 6.0 - K.www);
    return vec4(c.z * mix(K.xxx, clamp(p - K.xxx, 0.0, 1.0), c.y), c.w);
}

// Scales the HSV value, so hue and saturation survive a brightness change.
vec4 adjustBrightness(vec4 c, float brightness)
{
    vec4 hsv = rgb2hsv(c);
    hsv.z *= brightness;
    return hsv2rgb(hsv);
}

// Latitude/longitude of the model-space direction. At the seam u jumps from 1 back to 0, so
// the implicit derivative of u would be huge there and the lookup would drop to the smallest
// mip level, drawing a visible line. The screen-space change of the direction itself is
// continuous across the seam and stands in for the change of u; v has no seam.
SphericalCoords getSphericalTextureCoords(vec3 position)
{
    vec3 d = normalize(position);
    float u = -atan(-d.x, -d.z) / (2.0 * PI) + 0.5;
    float v = atan(d.y, sqrt(d.x * d.x + d.z * d.z)) / PI + 0.5;

    SphericalCoords sc;
    sc.uv = vec2(u, v);
    sc.gradX = vec2(length(dFdx(d.xy)) / (2.0 * PI), dFdx(v));
    sc.gradY = vec2(length(dFdy(d.xy)) / (2.0 * PI), dFdy(v));
    return sc;
}

// Box-projection weights: each axis counts by how much the normal points along it, sharpened
// by uvFeathering, and only the half-space the normal points into keeps its weight. The floor
// keeps normalize() away from a zero vector.
vec3 triplanarWeights(vec3 n)
{
    vec3 w = normalize(max(abs(n), vec3(0.00001)));
    w = pow(w, vec3(uvFeathering));
    w /= w.x + w.y + w.z;
    return w * max(vec3(0.0), sign(n));
}

vec2 planarCoords(vec2 c)
{
    return rotateCoords(c) * uvRepeat + uvOffset + 0.5;
}

vec4 triplanarMapping(sampler2D map, vec3 n, vec3 p)
{
    vec3 w = triplanarWeights(n);
    vec3 s = p * 0.5;
    vec4 cx = texture(map, planarCoords(s.zy));
    vec4 cy = texture(map, planarCoords(s.xz));
    vec4 cz = texture(map, planarCoords(s.xy));
    return cx * w.x + cy * w.y + cz * w.z;
}

// Box projection of a tangent-space normal map. Each face's map normal is taken back from the
// face's plane (unrotated, mirrored with the face) and added to the surface normal's
// components in that plane, with the surface normal's own axis as the third component; the
// three results are swizzled back to model axes, blended, and turned into world space.
vec3 triplanarNormalMapping(sampler2D map, vec3 b, vec3 n, vec3 p, vec3 m)
{
    vec3 w = triplanarWeights(b);
    vec3 s = p * 0.5 * m;
    vec3 tx = texture(map, planarCoords(s.zy)).rgb * 2.0 - 1.0;
    vec3 ty = texture(map, planarCoords(s.xz)).rgb * 2.0 - 1.0;
    vec3 tz = texture(map, planarCoords(s.xy)).rgb * 2.0 - 1.0;
    tx.y *= normalInvertGreen;
    ty.y *= normalInvertGreen;
    tz.y *= normalInvertGreen;

    vec3 ax = vec3(unrotateCoords(tx.xy) * vec2(m.z, 1.0) + vec2(n.z, n.y), n.x);
    vec3 ay = vec3(unrotateCoords(ty.xy) * vec2(m.x, m.z) + vec2(n.x, n.z), n.y);
    vec3 az = vec3(unrotateCoords(tz.xy) * vec2(m.x, 1.0) + vec2(n.x, n.y), n.z);
    vec3 f = ax.zyx * w.x + ay.xzy * w.y + az.xyz * w.z;
    return mat3(normalMatrix) * f;
}

// One lookup of a 2D map in the chosen projection. A normal map comes back as a direction
// (-1..1) with its green channel oriented and its rotation undone, so bumps keep their
// direction when the map is rotated; the box projection returns a world-space normal.
vec4 sampleTexture(sampler2D map, bool isNormalMap, SphericalCoords sc)
{
    vec3 p = vertexPosition;
    vec4 result;
    if (uvType == UV_SPHERICAL) {
        vec2 uv = (rotateCoords(sc.uv - 0.5) + 0.5) * uvRepeat + uvOffset;
        result = textureGrad(map, uv, sc.gradX, sc.gradY);
    } else if (uvType == UV_BOX) {
        // The two calls cover the positive and the negative half of each axis, each with its
        // own mirrored copy of the position so the map reads the right way round on both.
        vec3 n = vertexNormal;
        if (isNormalMap) {
            vec3 positiveHalf = triplanarNormalMapping(map, n, n, p, vec3(-1.0, 1.0, 1.0));
            vec3 negativeHalf = triplanarNormalMapping(map, -n, n, p, vec3(1.0, 1.0, -1.0));
            return vec4(normalize(positiveHalf + negativeHalf), 1.0);
        }
        result = triplanarMapping(map, n, p * vec3(-1.0, 1.0, 1.0)) +
                 triplanarMapping(map, -n, p * vec3(1.0, 1.0, -1.0));
    } else if (uvType == UV_PLANE_XY) {
        result = texture(map, rotateCoords(p.xy) * 0.5 * uvRepeat + uvOffset + 0.5);
    } else if (uvType == UV_PLANE_XZ) {
        result = texture(map, rotateCoords(p.xz) * 0.5 * uvRepeat + uvOffset + 0.5);
    } else {
        result = texture(map, rotateCoords(p.zy) * 0.5 * uvRepeat + uvOffset + 0.5);
    }

    result = max(result, vec4(0.0));
    if (isNormalMap) {
        result.rgb = result.rgb * 2.0 - 1.0;
        result.y *= normalInvertGreen;
        result.xy = unrotateCoords(result.xy);
    }
    return result;
}

vec4 sampleEnvironment(vec3 direction, float lod)
{
    vec4 c = pow(textureLod(environmentSampler, direction, lod), vec4(environmentGamma));
    if (environmentBrightness != 1.0) {
        c = adjustBrightness(c, environmentBrightness);
    }
    return c;
}

// GGX-style highlight. The roughness is remapped so that even a mirror keeps a small lobe
// (r' >= 0.125) and cubed to get alpha; D is the Trowbridge-Reitz distribution. Gv and Gl
// are Schlick-Smith masking terms (k = alpha / 2) already divided by their cosines, so
// D * Gv * Gl / 4 is the Cook-Torrance BRDF; the trailing N.V fades the highlight where the
// surface turns away from the viewer.
float calculate_specular(vec3 N, float roughness, float NoL, vec3 H, vec3 V)
{
    float NoH = max(0.0, dot(N, H));
    float r = roughness * 0.875 + 0.125;
    float alpha = r * r * r;
    float alpha2 = alpha * alpha;
    float q = NoH * NoH * (alpha2 - 1.0) + 1.0;
    float D = alpha2 / (3.1415927 * (q * q));
    float k = alpha / 2.0;
    float NoV = max(0.0, dot(N, V));
    float Gv = 1.0 / (NoV * (1.0 - k) + k);
    float Gl = 1.0 / (NoL * (1.0 - k) + k);
    return (D * Gv * Gl / 4.0) * NoV;
}

// Spot cone: nothing outside the half angle; inside, the feather is the fraction of the half
// angle (measured from the rim inwards) over which the light fades in, eased with a
// smoothstep and squared for a softer toe.
float spotFactor(LightProperties l, vec3 L)
{
    float a = 1.0;
    float c = dot(l.direction, -L);
    if (c <= l.spotConeCos) {
        a = 0.0;
    } else if (l.spotFeather > 0.0) {
        float h = acos(l.spotConeCos);
        // Rounding can push the cosine of a direction on the axis a hair above 1.
        a = max(0.0, (h - acos(min(c, 1.0))) / h);
        a = clamp(a / l.spotFeather, 0.0, 1.0);
    }
    float eased = smoothstep(0.0, 1.0, a);
    return clamp(eased * eased, 0.0, 1.0);
}

// Sums the direct lights. lightAmount is a signed, colour-weighted measure of how much the
// surface faces the lights; it drives the shadow/light split of the self-illumination.
void get_light(vec3 N, vec3 Nf, vec3 V, float glossiness, out float lightAmount,
               out vec4 diffuseLight, out vec4 specularLight)
{
    lightAmount = 0.0;
    diffuseLight = vec4(0.0);
    specularLight = vec4(0.0);

    // The light past the geometric terminator fades out over a band whose width shrinks
    // as clipLighting grows; 0.99 keeps the band from collapsing to zero.
    float terminatorScale = -(1.0 / (1.0 - clipLighting * 0.99));

    int count = min(numLights, MAX_LIGHTS);
    for (int i = 0; i < count; ++i) {
        LightProperties l = lights[i];
        vec3 L = l.lightType == LT_PARALLEL ? normalize(-l.direction)
                                             : normalize(l.position - pixelPosition);
        float a = l.lightType == LT_SPOT ? spotFactor(l, L) : 1.0;

        vec3 H = normalize(L + V);
        float flatNoL = dot(Nf, L);
        float NoL = dot(N, L);
        float clampedNoL = max(0.0, NoL);
        // 1 wherever the flat surface faces the light, so a normal map cannot light the
        // night side of the sphere.
        float k = 1.0 - clamp(flatNoL * terminatorScale, 0.0, 1.0);

        float intensity = clamp((l.color.r + l.color.g + l.color.b) / 3.0, 0.0, 1.0);
        lightAmount += a * mix(flatNoL, NoL, illuminationBumpInfluence * k) * intensity;

        float spec = calculate_specular(N, 1.0 - glossiness, clampedNoL, H, V);
        specularLight += a * clampedNoL * k * spec * l.color;
        diffuseLight += a * clampedNoL * k * l.color;
    }

    specularLight *= specularAmount;
    diffuseLight *= diffuseAmount;
    diffuseLight += ambientLights * ambientAmount;
}

// Falloff of the self-illumination with the view angle: positive f brightens the rim
// (y = 1 - N.V), negative f the centre (y = N.V); |f| blends the curve against a flat 1.
float fresnel(float NoV, float f, float bias)
{
    if (bias < 0.01) {
        return 1.0;
    }
    float y = f > 0.0 ? 1.0 - NoV : NoV;
    return pow(y, bias) * abs(f) + (1.0 - abs(f));
}

void main()
{
    if (flattenBottom == 1 && vertexPosition.y > 0.00001) {
        discard;
    }

    vec3 V = normalize(eyePosition - pixelPosition);
    // Back faces are seen from inside the sphere: flip so the inside is lit as a surface
    // that faces the viewer.
    vec3 Nf = normalize(normal);
    if (!gl_FrontFacing) {
        Nf = -Nf;
    }

    // Derivatives are taken here, in uniform control flow, before any per-map branching.
    SphericalCoords sc = SphericalCoords(vec2(0.0), vec2(0.0), vec2(0.0));
    if (uvType == UV_SPHERICAL) {
        sc = getSphericalTextureCoords(originalPosition);
    }

    vec4 D = vec4(1.0);
    if (useDiffuseTexture != 0) {
        vec4 S = sampleTexture(diffuseSampler, false, sc);
        D = mix(vec4(1.0), vec4(pow(S.rgb, vec3(diffuseGamma)), S.a), diffuseBlend);
        if (diffuseBrightness != 1.0) {
            D = adjustBrightness(D, diffuseBrightness);
        }
    }

    float glossiness = glossinessAmount;
    if (useGlossinessTexture != 0) {
        vec4 G = pow(sampleTexture(glossinessSampler, false, sc), vec4(glossinessGamma));
        if (glossinessBrightness != 1.0) {
            G = adjustBrightness(G, glossinessBrightness);
        }
        glossiness *= clamp((G.r + G.g + G.b) / 3.0, 0.0, 1.0);
    }

    vec4 I = vec4(1.0);
    if (useIlluminationTexture != 0) {
        I = pow(sampleTexture(illuminationSampler, false, sc), vec4(illuminationGamma));
        if (illuminationBrightness != 1.0) {
            I = adjustBrightness(I, illuminationBrightness);
        }
    }

    vec3 N = Nf;
    if (useNormalTexture != 0) {
        vec3 t = sampleTexture(normalSampler, true, sc).xyz;
        if (uvType == UV_BOX) {
            N = normalize(mix(Nf, t, normalAmount));
        } else {
            vec3 T = normalize(tangent.xyz);
            vec3 B = normalize(cross(Nf, T) * tangent.w);
            vec3 tn = normalize(mix(vec3(0.0, 0.0, 1.0), t, normalAmount));
            N = normalize(T * tn.x + B * tn.y + Nf * tn.z);
        }
    }

    vec4 Er = vec4(0.0);
    vec4 Ed = vec4(0.0);
    if (useEnvironmentTexture != 0) {
        mat3 M = mat3(environmentRotation);
        // Schlick-style fresnel, (1 - |N.V|)^5, whose grazing boost is damped on rough
        // surfaces (they scatter the grazing reflection); reflectivityAmount raises the
        // reflection at normal incidence towards a full mirror, with a 1% floor.
        float e = max(0.0, 1.0 - abs(dot(N, V)));
        float rf = mix(1.0 - (1.0 - glossiness) * 0.6, 1.0, reflectivityAmount);
        float reflectivity = mix(pow(e, 5.0) * rf, 1.0, reflectivityAmount * 0.99 + 0.01);
        // Rougher surfaces read blurrier prefiltered levels.
        float lod = (1.0 - glossiness) * ENVIRONMENT_MAX_LOD;
        Er = sampleEnvironment(M * normalize(reflect(-V, N)), lod) * reflectivity;
        // The roughest level stands in for the diffuse irradiance around N.
        Ed = sampleEnvironment(M * N, ENVIRONMENT_MAX_LOD);
    }

    float lightAmount = 1.0;
    vec4 diffuseLight = vec4(1.0);
    vec4 specularLight = vec4(0.0);
    if (unlitMode != 1) {
        get_light(N, Nf, V, glossiness, lightAmount, diffuseLight, specularLight);
    }

    // Self-illumination, split into the share on the lit side and the share in shadow so
    // that either side can be faded out.
    vec3 Ni = normalize(mix(Nf, N, illuminationBumpInfluence));
    float F = fresnel(clamp(dot(Ni, V), 0.0, 1.0), illuminationFresnel, illuminationFresnelBias);
    vec4 illumination = I * illuminationColor * F;
    float t = clamp(lightAmount + illuminationShadowLightExpand, 0.0, 1.0);
    float contrast = illuminationShadowLightContrast;
    vec4 shadowShare = illumination * pow(1.0 - t, contrast) *
                       max(0.0, 1.0 - max(0.0, illuminationShadowLight));
    vec4 lightShare = illumination * pow(t, contrast) *
                      max(0.0, 1.0 - max(0.0, -illuminationShadowLight));

    vec4 C = modelColor * D * (Ed + diffuseLight) + specularLight + shadowShare + lightShare + Er;
    C.a = D.a * modelColor.a;

    // Soft edge: ed runs from 1 where the surface faces the eye to 0 at the silhouette
    // (angle-linear); edgeShrink moves the fade inwards and edgeFeather sets its width.
    if (edgeFeather > 0.0 || edgeShrink > 0.0) {
        float f = max(0.001, edgeFeather);
        // min() because rounding can push the cosine of two unit vectors a hair above 1.
        float ed = 1.0 - acos(min(max(0.0, dot(V, Nf)), 1.0)) / (PI * 0.5);
        float sd = clamp((ed - edgeShrink) / (1.0 - edgeShrink * 0.999), 0.0, 1.0);
        C.a *= clamp(1.0 - (f - sd) / f, 0.0, 1.0);
    }

    C.rgb *= C.a;
    outColor = C;
}
