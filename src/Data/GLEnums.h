// The GL and EGL values that decide how much memory a call reads or writes. Values are those of the Khronos registry.
// Data includes no GL header, so that a capture can be listed on a machine without one.
#pragma once

#include <cstdint>

namespace Data::Enum {

// Buffer targets.
inline constexpr std::uint32_t ArrayBuffer = 0x8892;
inline constexpr std::uint32_t ElementArrayBuffer = 0x8893;
inline constexpr std::uint32_t PixelPackBuffer = 0x88EB;
inline constexpr std::uint32_t PixelUnpackBuffer = 0x88EC;
inline constexpr std::uint32_t UniformBuffer = 0x8A11;
inline constexpr std::uint32_t TextureBuffer = 0x8C2A;
inline constexpr std::uint32_t TransformFeedbackBuffer = 0x8C8E;
inline constexpr std::uint32_t CopyReadBuffer = 0x8F36;
inline constexpr std::uint32_t CopyWriteBuffer = 0x8F37;
inline constexpr std::uint32_t DrawIndirectBuffer = 0x8F3F;
inline constexpr std::uint32_t ShaderStorageBuffer = 0x90D2;
inline constexpr std::uint32_t DispatchIndirectBuffer = 0x90EE;
inline constexpr std::uint32_t AtomicCounterBuffer = 0x92C0;

// Pixel-store parameters.
inline constexpr std::uint32_t UnpackRowLength = 0x0CF2;
inline constexpr std::uint32_t UnpackSkipRows = 0x0CF3;
inline constexpr std::uint32_t UnpackSkipPixels = 0x0CF4;
inline constexpr std::uint32_t UnpackAlignment = 0x0CF5;
inline constexpr std::uint32_t PackRowLength = 0x0D02;
inline constexpr std::uint32_t PackSkipRows = 0x0D03;
inline constexpr std::uint32_t PackSkipPixels = 0x0D04;
inline constexpr std::uint32_t PackAlignment = 0x0D05;
inline constexpr std::uint32_t UnpackSkipImages = 0x806D;
inline constexpr std::uint32_t UnpackImageHeight = 0x806E;

// Types.
inline constexpr std::uint32_t Byte = 0x1400;
inline constexpr std::uint32_t UnsignedByte = 0x1401;
inline constexpr std::uint32_t Short = 0x1402;
inline constexpr std::uint32_t UnsignedShort = 0x1403;
inline constexpr std::uint32_t Int = 0x1404;
inline constexpr std::uint32_t UnsignedInt = 0x1405;
inline constexpr std::uint32_t Float = 0x1406;
inline constexpr std::uint32_t HalfFloat = 0x140B;
inline constexpr std::uint32_t Fixed = 0x140C;
inline constexpr std::uint32_t HalfFloatOes = 0x8D61;
inline constexpr std::uint32_t UnsignedShort4444 = 0x8033;
inline constexpr std::uint32_t UnsignedShort5551 = 0x8034;
inline constexpr std::uint32_t UnsignedShort565 = 0x8363;
inline constexpr std::uint32_t UnsignedShort4444Rev = 0x8365;
inline constexpr std::uint32_t UnsignedShort1555Rev = 0x8366;
inline constexpr std::uint32_t UnsignedInt8888 = 0x8035;
inline constexpr std::uint32_t UnsignedInt8888Rev = 0x8367;
inline constexpr std::uint32_t UnsignedInt2101010Rev = 0x8368;
inline constexpr std::uint32_t UnsignedInt248 = 0x84FA;
inline constexpr std::uint32_t UnsignedInt10F11F11FRev = 0x8C3B;
inline constexpr std::uint32_t UnsignedInt5999Rev = 0x8C3E;
inline constexpr std::uint32_t Float32UnsignedInt248Rev = 0x8DAD;
inline constexpr std::uint32_t Int2101010Rev = 0x8D9F;
inline constexpr std::uint32_t UnsignedInt1010102Oes = 0x8DF6;
inline constexpr std::uint32_t Int1010102Oes = 0x8DF7;

// Pixel formats.
inline constexpr std::uint32_t StencilIndex = 0x1901;
inline constexpr std::uint32_t DepthComponent = 0x1902;
inline constexpr std::uint32_t Red = 0x1903;
inline constexpr std::uint32_t Green = 0x1904;
inline constexpr std::uint32_t Blue = 0x1905;
inline constexpr std::uint32_t Alpha = 0x1906;
inline constexpr std::uint32_t Rgb = 0x1907;
inline constexpr std::uint32_t Rgba = 0x1908;
inline constexpr std::uint32_t Luminance = 0x1909;
inline constexpr std::uint32_t LuminanceAlpha = 0x190A;
inline constexpr std::uint32_t Bgr = 0x80E0;
inline constexpr std::uint32_t Bgra = 0x80E1;
inline constexpr std::uint32_t Rg = 0x8227;
inline constexpr std::uint32_t RgInteger = 0x8228;
inline constexpr std::uint32_t DepthStencil = 0x84F9;
inline constexpr std::uint32_t Srgb = 0x8C40;
inline constexpr std::uint32_t SrgbAlpha = 0x8C42;
inline constexpr std::uint32_t RedInteger = 0x8D94;
inline constexpr std::uint32_t RgbInteger = 0x8D98;
inline constexpr std::uint32_t RgbaInteger = 0x8D99;

// Others.
inline constexpr std::int32_t None = 0;
inline constexpr std::uint32_t Color = 0x1800;
inline constexpr std::uint32_t PrimitiveRestartFixedIndex = 0x8D69;
inline constexpr std::int32_t EglNone = 0x3038;
inline constexpr std::int32_t EglTrue = 1;

} // namespace Data::Enum
