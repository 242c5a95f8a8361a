// Render-context handle shared by the AEGP render callbacks and the camera suite.
#ifndef LUNAFORM_SDK_AE_PR_PUBLIC_H
#define LUNAFORM_SDK_AE_PR_PUBLIC_H

typedef struct PR_RenderContext** PR_RenderContextH;

#endif
