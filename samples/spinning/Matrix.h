// The few transformations that the test clients need.
#pragma once

#include <array>
#include <cmath>

/// Column-major, as the shaders take them.
using Matrix = std::array<float, 16>;

inline Matrix Multiply(const Matrix& a, const Matrix& b)
{
    Matrix product{};
    for (int column = 0; column < 4; ++column) {
        for (int row = 0; row < 4; ++row)
            for (int i = 0; i < 4; ++i)
                product[column * 4 + row] += a[i * 4 + row] * b[column * 4 + i];
    }
    return product;
}

inline Matrix RotateY(float angle)
{
    const float c = std::cos(angle);
    const float s = std::sin(angle);
    return {c, 0, -s, 0, 0, 1, 0, 0, s, 0, c, 0, 0, 0, 0, 1};
}

inline Matrix RotateX(float angle)
{
    const float c = std::cos(angle);
    const float s = std::sin(angle);
    return {1, 0, 0, 0, 0, c, s, 0, 0, -s, c, 0, 0, 0, 0, 1};
}

inline Matrix MoveBack(float distance)
{
    return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, -distance, 1};
}

inline Matrix Perspective(float aspect)
{
    constexpr float Focal = 2.2f;
    constexpr float Near = 1.0f;
    constexpr float Far = 10.0f;
    constexpr float Scale = (Far + Near) / (Near - Far);
    constexpr float Offset = 2 * Far * Near / (Near - Far);
    return {Focal / aspect, 0, 0, 0, 0, Focal, 0, 0, 0, 0, Scale, -1, 0, 0, Offset, 0};
}
