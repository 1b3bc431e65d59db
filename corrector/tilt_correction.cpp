// The corrector object: construction, accessors, and the decision on its image.
#include <cstdint>
#include <limits>

#include "corrector/horizon_decision.h"
#include "skylevel/skylevel.h"

TiltCorrection::TiltCorrection(unsigned char* pImage, int width, int height, int stride)
    : m_pImage(pImage),
      m_width(width),
      m_height(height),
      m_stride(stride),
      m_pRotImage(nullptr),
      m_rotWidth(0),
      m_rotHeight(0),
      m_cropRect{0, 0, 0, 0},
      m_rotAngle(std::numeric_limits<double>::max()),
      m_rotAngleThresh(10.0) {}

TiltCorrection::~TiltCorrection() {
    delete[] m_pRotImage;
    m_pRotImage = nullptr;
}

bool TiltCorrection::getHasHorizon() { return m_rotAngle <= m_rotAngleThresh; }

double TiltCorrection::getRotAngle() { return 0.0 - m_rotAngle; }

void TiltCorrection::setRotAngle(double angle) { m_rotAngle = angle; }

double TiltCorrection::getRotAngleThresh() { return m_rotAngleThresh; }

void TiltCorrection::setRotAngleThresh(double threshold) { m_rotAngleThresh = threshold; }

unsigned char* TiltCorrection::getRotImage() { return m_pRotImage; }

int TiltCorrection::getRotImageSize(int& width, int& height) {
    width = m_rotWidth;
    height = m_rotHeight;
    return m_rotWidth < m_width || m_rotHeight < m_height ? -1 : 0;
}

int TiltCorrection::getCropImageLoc(int& left, int& right, int& top, int& bottom) {
    const _Rect& rect = m_cropRect;
    if (rect.left < 0 || rect.right >= m_width || rect.left >= rect.right) return -1;
    if (rect.top < 0 || rect.bottom >= m_height || rect.top >= rect.bottom) return -1;
    left = rect.left;
    right = rect.right;
    top = rect.top;
    bottom = rect.bottom;
    return 0;
}

int TiltCorrection::getCropImageSize(int& width, int& height) {
    // 64-bit: a rectangle far outside the image can be wider than an int holds.
    const std::int64_t lastColumn = std::int64_t{m_cropRect.right} - m_cropRect.left;
    const std::int64_t lastRow = std::int64_t{m_cropRect.bottom} - m_cropRect.top;
    if (lastColumn < 0 || lastRow < 0 || lastColumn >= m_width || lastRow >= m_height) return -1;
    width = static_cast<int>(lastColumn) + 1;
    height = static_cast<int>(lastRow) + 1;
    return 0;
}

int TiltCorrection::detectHorizon(int imageAngle) {
    return skylevel::decideHorizon(*this, {m_pImage, m_width, m_height, m_stride}, imageAngle, m_rotAngleThresh,
                                   m_rotAngle, nullptr);
}
