#include "PvVector.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <numbers>

extern "C" {

float vectorScalarProduct(PvPoint a, PvPoint b)
{
    return a.x * b.x + a.y * b.y;
}

float vectorLength(PvPoint v)
{
    return std::sqrt(v.x * v.x + v.y * v.y);
}

float radiantsToDegree(float radians)
{
    return float(double(radians) * 180.0 / std::numbers::pi);
}

PvPoint PvMakeVectorFromPoints(PvPoint p, PvPoint q)
{
    return {q.x - p.x, q.y - p.y};
}

PvPoint inverseVector(PvPoint v)
{
    constexpr uint32_t kSign = 0x80000000u;
    return {std::bit_cast<float>(std::bit_cast<uint32_t>(v.x) ^ kSign),
        std::bit_cast<float>(std::bit_cast<uint32_t>(v.y) ^ kSign)};
}

PvPoint vectorSum(PvPoint a, PvPoint b)
{
    return {a.x + b.x, a.y + b.y};
}

PvPoint scalarMultiplication(float s, PvPoint v)
{
    return {s * v.x, s * v.y};
}

float vectorAngle(PvPoint a, PvPoint b)
{
    return std::acos(vectorScalarProduct(a, b) / (vectorLength(a) * vectorLength(b)));
}

PvPoint unitVector(PvPoint v)
{
    const float reciprocal = 1.0f / vectorLength(v);
    return scalarMultiplication(reciprocal, v);
}

PvPoint vectorWithAdjustedLength(PvPoint v, float length)
{
    return scalarMultiplication(length, unitVector(v));
}
}
