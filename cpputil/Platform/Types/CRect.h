/// @file
/// MFC's rectangle by its edges. Our own on both backends, since MFC exists only with MSVC; the
/// members keep RECT's names so that code reads the same.
#pragma once

#include <cstdint>

class CRect
{
public:
    CRect() : left(0), top(0), right(0), bottom(0) {}
    CRect(std::int32_t l, std::int32_t t, std::int32_t r, std::int32_t b)
        : left(l), top(t), right(r), bottom(b)
    {
    }

    std::int32_t Width() const { return right - left; }
    std::int32_t Height() const { return bottom - top; }
    bool IsRectEmpty() const { return Width() <= 0 || Height() <= 0; }
    bool IsRectNull() const { return left == 0 && top == 0 && right == 0 && bottom == 0; }
    void SetRectEmpty() { left = top = right = bottom = 0; }

    bool operator==(const CRect& other) const
    {
        return left == other.left && top == other.top && right == other.right &&
               bottom == other.bottom;
    }
    bool operator!=(const CRect& other) const { return !(*this == other); }

    std::int32_t left;
    std::int32_t top;
    std::int32_t right;
    std::int32_t bottom;
};
