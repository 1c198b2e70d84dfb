#include "Replay/Driver/SamplerTarget.h"

#include <algorithm>
#include <iterator>

#include <GLES3/gl32.h>

namespace Replay {

unsigned int SamplerTarget(unsigned int type)
{
    struct Sampler {
        GLenum type;
        GLenum target;
    };
    static constexpr Sampler Samplers[] = {
        {GL_SAMPLER_2D, GL_TEXTURE_2D},
        {GL_SAMPLER_2D_SHADOW, GL_TEXTURE_2D},
        {GL_INT_SAMPLER_2D, GL_TEXTURE_2D},
        {GL_UNSIGNED_INT_SAMPLER_2D, GL_TEXTURE_2D},
        {GL_SAMPLER_CUBE, GL_TEXTURE_CUBE_MAP},
        {GL_SAMPLER_CUBE_SHADOW, GL_TEXTURE_CUBE_MAP},
        {GL_INT_SAMPLER_CUBE, GL_TEXTURE_CUBE_MAP},
        {GL_UNSIGNED_INT_SAMPLER_CUBE, GL_TEXTURE_CUBE_MAP},
        {GL_SAMPLER_3D, GL_TEXTURE_3D},
        {GL_INT_SAMPLER_3D, GL_TEXTURE_3D},
        {GL_UNSIGNED_INT_SAMPLER_3D, GL_TEXTURE_3D},
        {GL_SAMPLER_2D_ARRAY, GL_TEXTURE_2D_ARRAY},
        {GL_SAMPLER_2D_ARRAY_SHADOW, GL_TEXTURE_2D_ARRAY},
        {GL_INT_SAMPLER_2D_ARRAY, GL_TEXTURE_2D_ARRAY},
        {GL_UNSIGNED_INT_SAMPLER_2D_ARRAY, GL_TEXTURE_2D_ARRAY},
        {GL_SAMPLER_CUBE_MAP_ARRAY, GL_TEXTURE_CUBE_MAP_ARRAY},
        {GL_SAMPLER_2D_MULTISAMPLE, GL_TEXTURE_2D_MULTISAMPLE},
        {GL_SAMPLER_2D_MULTISAMPLE_ARRAY, GL_TEXTURE_2D_MULTISAMPLE_ARRAY},
    };
    const auto* const sampler = std::ranges::find(Samplers, type, &Sampler::type);
    return sampler != std::end(Samplers) ? sampler->target : 0;
}

} // namespace Replay
