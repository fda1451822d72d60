/// @file
/// The GDI+ value types the chart model is written against. They are our own on both backends:
/// the real ones live in gdiplus.h, which needs GdiplusStartup and the gdiplus library before a
/// single colour can be made, and the chart only ever carries these values around; it renders to
/// text, not through GDI+. A translation unit must not include gdiplus.h beside this header.
#pragma once

#include <cstdint>

namespace Gdiplus
{

typedef std::uint32_t ARGB;

/// A colour packed as alpha, red, green and blue bytes, alpha in the top byte.
class Color
{
public:
    Color() : m_uArgb(0xFF000000u) {}
    Color(std::uint8_t r, std::uint8_t g, std::uint8_t b) : m_uArgb(MakeARGB(255, r, g, b)) {}
    Color(std::uint8_t a, std::uint8_t r, std::uint8_t g, std::uint8_t b)
        : m_uArgb(MakeARGB(a, r, g, b))
    {
    }
    explicit Color(ARGB argb) : m_uArgb(argb) {}

    std::uint8_t GetA() const { return static_cast<std::uint8_t>(m_uArgb >> 24); }
    std::uint8_t GetR() const { return static_cast<std::uint8_t>(m_uArgb >> 16); }
    std::uint8_t GetG() const { return static_cast<std::uint8_t>(m_uArgb >> 8); }
    std::uint8_t GetB() const { return static_cast<std::uint8_t>(m_uArgb); }
    ARGB GetValue() const { return m_uArgb; }
    void SetValue(ARGB argb) { m_uArgb = argb; }

    static ARGB MakeARGB(std::uint8_t a, std::uint8_t r, std::uint8_t g, std::uint8_t b)
    {
        return (static_cast<ARGB>(a) << 24) | (static_cast<ARGB>(r) << 16) |
               (static_cast<ARGB>(g) << 8) | static_cast<ARGB>(b);
    }

    bool operator==(const Color& other) const { return m_uArgb == other.m_uArgb; }
    bool operator!=(const Color& other) const { return m_uArgb != other.m_uArgb; }

private:
    ARGB m_uArgb;
};

/// A rectangle as origin and size.
class Rect
{
public:
    Rect() : X(0), Y(0), Width(0), Height(0) {}
    Rect(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height)
        : X(x), Y(y), Width(width), Height(height)
    {
    }

    std::int32_t GetLeft() const { return X; }
    std::int32_t GetTop() const { return Y; }
    std::int32_t GetRight() const { return X + Width; }
    std::int32_t GetBottom() const { return Y + Height; }
    bool IsEmptyArea() const { return Width <= 0 || Height <= 0; }
    bool Contains(std::int32_t x, std::int32_t y) const
    {
        return x >= X && x < X + Width && y >= Y && y < Y + Height;
    }
    bool Equals(const Rect& other) const
    {
        return X == other.X && Y == other.Y && Width == other.Width && Height == other.Height;
    }

    std::int32_t X;
    std::int32_t Y;
    std::int32_t Width;
    std::int32_t Height;
};

} // namespace Gdiplus
