#version 330 core
in vec2 v_texCoord;
out vec4 fragColor;
uniform sampler2D u_fromTexture;
uniform sampler2D u_toTexture;
uniform float u_progress;
uniform vec2 u_resolution;

// The outgoing clip fading out under the incoming one fading in, as two layers laid one over the
// other: where a clip is transparent the other keeps its own colour, and halfway a quarter of
// what lies below still shows, as with the compositor's own crossfade.
void main()
{
    vec4 from = texture(u_fromTexture, v_texCoord);
    vec4 to = texture(u_toTexture, v_texCoord);
    float fa = from.a * (1.0 - u_progress);
    float ta = to.a * u_progress;
    float a = ta + fa * (1.0 - ta);
    vec3 rgb = to.rgb * ta + from.rgb * fa * (1.0 - ta);
    fragColor = vec4(a > 0.0 ? rgb / a : vec3(0.0), a);
}
