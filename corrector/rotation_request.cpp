// The operations that ask for a colour picture reduced 4:1 to gray. RGB2SmallGray reduces by 8 and by
// nothing else, so the request is refused and each operation ends with its failure.
#include <cstddef>
#include <memory>

#include "platform/log.h"
#include "platform/sizes.h"
#include "skylevel/skylevel.h"

namespace {

constexpr int factor = 4;

void requestReduction(TiltCorrection& stages, unsigned char* rgb, int width, int height) {
    // A picture beyond the int range is refused for its size; nothing is allocated for it.
    const std::size_t byteCount =
        skylevel::isPlane(width, height) ? std::size_t{1} * (width / factor) * (height / factor) : 0;
    const std::unique_ptr<unsigned char[]> small(new unsigned char[byteCount]);
    stages.RGB2SmallGray(rgb, small.get(), width, height, factor);
    SKYLEVEL_LOG_DEBUG("TiltCorrection: RGB2SmallGray error\n");
}

}  // namespace

int TiltCorrection::detectRotAngle() {
    if (m_pImage == nullptr || m_width < 1 || m_height < 1) return -2;
    SKYLEVEL_LOG_DEBUG("!!!!!!!!!!!!!Enter detectRotAngle sucessful!!!!!!!!!!!!!!");
    SKYLEVEL_LOG_DEBUG("!!!!!!!!!!!!!Enter detectRotAngle 1 sucessful!!!!!!!!!!!!!!");
    SKYLEVEL_LOG_DEBUG("smallWidth is: %d, smallHeight is: %d", m_width, m_height);
    requestReduction(*this, m_pImage, m_width, m_height);
    return -4;
}

int TiltCorrection::autoCorrection() {
    if (m_pImage == nullptr || m_width < 1 || m_height < 1) return -1;
    delete[] m_pRotImage;
    m_pRotImage = nullptr;
    m_rotWidth = 0;
    m_rotHeight = 0;
    if (m_width % factor != 0 || m_height % factor != 0)
        SKYLEVEL_LOG_DEBUG("TiltCorrection: downsample ratio error\n");
    else
        requestReduction(*this, m_pImage, m_width, m_height);
    return -1;
}
