// Records for the fuzz target of the reader, in the form of its inputs.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <random>
#include <vector>

#include "Data/Capture/ReferenceFormat.h"
#include "Data/GLEnums.h"
#include "Data/Records/CallParameters.h"

namespace Data {

inline constexpr std::uint32_t BuiltInCount =
    static_cast<std::uint32_t>(RecordId::ReferencePicture) - FirstBuiltInId + 2;
inline constexpr std::uint32_t MaxBodyBytes = 2048;

/// Builds records that are well-formed, mostly, so that a mutator gets deep.
class RecordGenerator {
public:
    explicit RecordGenerator(unsigned seed) : m_random(seed) {}

    /// One well-formed record: mostly a call, with contents behind its pointers.
    std::vector<std::uint8_t> Record()
    {
        const std::uint32_t number = Below(6) == 0 ? callCount + Below(BuiltInCount) : Call();
        return Record(number, number < callCount
                                  ? CallBody(static_cast<CallId>(number))
                                  : BuiltInBody(static_cast<RecordId>(FirstBuiltInId + number - callCount)));
    }

    /// A buffer, mapped, and the bytes that are written to it: what a mutator would not find by itself.
    std::vector<std::uint8_t> MappedWrite()
    {
        std::vector<std::uint8_t> records;
        const auto add = [&](std::uint32_t number, std::vector<std::uint8_t> body) {
            const std::vector<std::uint8_t> record = Record(number, std::move(body));
            records.insert(records.end(), record.begin(), record.end());
        };
        const auto call = [&](CallId id, std::initializer_list<std::uint64_t> values) {
            std::vector<std::uint8_t> body;
            auto value = values.begin();
            if (const ParameterDescription* const returned = ReturnOf(id))
                Add(body, *returned, *value++);
            for (const ParameterDescription& parameter : ParametersOf(id))
                Add(body, parameter, *value++);
            if (id == CallId::glGenBuffers)
                AddContents(body, ParametersOf(id)[1], {1, 0, 0, 0});
            add(static_cast<std::uint32_t>(id), body);
        };
        const std::uint32_t bytes = 8 * Below(24);
        call(CallId::glGenBuffers, {1, 1});
        call(CallId::glBindBuffer, {Enum::ArrayBuffer, 1});
        call(CallId::glBufferData, {Enum::ArrayBuffer, 256, 0, 0});
        call(CallId::glMapBufferRange, {0x5000, Enum::ArrayBuffer, 0, bytes, 2});
        for (const RecordId id : {RecordId::FlushMappedBufferRange, RecordId::UnmapBuffer})
            add(callCount + static_cast<std::uint32_t>(id) - FirstBuiltInId, BuiltInBody(id));
        return records;
    }

private:
    static std::vector<std::uint8_t> Record(std::uint32_t number, std::vector<std::uint8_t> body)
    {
        body.resize(std::min<std::size_t>(body.size(), MaxBodyBytes));
        std::vector<std::uint8_t> record(4);
        const auto bytes = static_cast<std::uint16_t>(body.size());
        const auto id = static_cast<std::uint16_t>(number);
        std::memcpy(record.data(), &id, sizeof id);
        std::memcpy(record.data() + 2, &bytes, sizeof bytes);
        record.insert(record.end(), body.begin(), body.end());
        return record;
    }

    template <class First, class... Rest> First OneOf(First first, Rest... rest)
    {
        const First all[] = {first, static_cast<First>(rest)...};
        return all[Below(std::size(all))];
    }
    std::uint32_t Below(std::uint32_t end) { return static_cast<std::uint32_t>(m_random() % end); }

    /// Half of the time a call that the client state depends on.
    std::uint32_t Call()
    {
        using enum CallId;
        return Below(2) == 0 ? Below(callCount)
                             : static_cast<std::uint32_t>(
                                   OneOf(glGenBuffers, glBindBuffer, glBufferData, glBufferSubData, glDeleteBuffers,
                                         glMapBufferRange, glUnmapBuffer, glPixelStorei, glVertexAttribPointer,
                                         glEnableVertexAttribArray, glDrawArrays, glDrawElements, glGenVertexArrays,
                                         glBindVertexArray, glTexImage2D, glTexSubImage3D, glReadPixels, glShaderSource,
                                         glVertexAttribBinding, glVertexAttribDivisor, glDrawElementsInstanced,
                                         eglCreateContext, eglMakeCurrent, glBindVertexBuffer, glDrawArraysInstanced));
    }

    std::uint32_t Number()
    {
        using namespace Enum;
        switch (Below(4)) {
        case 0:
            return OneOf(ArrayBuffer, ElementArrayBuffer, PixelPackBuffer, PixelUnpackBuffer, DrawIndirectBuffer,
                         CopyWriteBuffer, UnpackAlignment, UnpackRowLength, UnpackSkipRows, UnpackImageHeight,
                         PackAlignment, PackRowLength, UnsignedByte, UnsignedShort, UnsignedInt, Float,
                         UnsignedShort565, Rgba, Rgb, DepthStencil, Alpha, PrimitiveRestartFixedIndex, 0x86A3u, 0x0BA2u,
                         0x1004u, 0x92BEu, 0x3038u, 0x7fffffffu, 0x80000000u, 0xffffffffu, 0x10000u);
        case 1:
            return Below(64);
        default:
            return Below(5);
        }
    }

    template <class T> static void Put(std::vector<std::uint8_t>& body, std::size_t at, const T& value)
    {
        // Places count from the record's header, which the body lacks.
        std::memcpy(body.data() + at - sizeof(RecordHeader), &value, sizeof value);
    }

    void Add(std::vector<std::uint8_t>& body, const ParameterDescription& parameter, std::uint64_t value)
    {
        const std::size_t end = parameter.at - sizeof(RecordHeader) + sizeof(PointerSlot);
        if (body.size() < end)
            body.resize(end);
        if (parameter.form == ParameterForm::Scalar)
            if (parameter.bytes == 8)
                Put(body, parameter.at, value);
            else
                Put(body, parameter.at, static_cast<std::uint32_t>(value));
        else
            Put(body, parameter.at, PointerSlot{value, 0, 0});
    }

    void AddContents(std::vector<std::uint8_t>& body, const ParameterDescription& parameter)
    {
        if (parameter.form == ParameterForm::Scalar || parameter.form == ParameterForm::Opaque || Below(5) == 0)
            return;
        std::vector<std::uint8_t> contents(Below(3) == 0 ? Below(600) : Below(80));
        for (std::uint8_t& byte : contents)
            byte = static_cast<std::uint8_t>(Below(4));
        if (parameter.form == ParameterForm::Strings) {
            const std::uint32_t count = Below(4);
            contents.assign(count * 8, 0);
            for (std::uint32_t i = 0; i < count; ++i) {
                const std::uint64_t offset = contents.size();
                std::memcpy(contents.data() + std::size_t{i} * 8, &offset, sizeof offset);
                contents.resize(contents.size() + Below(12), 'a');
                contents.push_back(0);
            }
        } else if (parameter.form == ParameterForm::Attribs) {
            const std::int64_t none = Enum::EglNone;
            contents.resize((Below(8) == 0 ? Below(36) : Below(8)) * 2 * parameter.bytes, 1);
            contents.insert(contents.end(), reinterpret_cast<const std::uint8_t*>(&none),
                            reinterpret_cast<const std::uint8_t*>(&none) + parameter.bytes);
        } else if (parameter.form == ParameterForm::Text) {
            contents.push_back(0);
        }
        AddContents(body, parameter, contents);
    }

    void AddContents(std::vector<std::uint8_t>& body, const ParameterDescription& parameter,
                     const std::vector<std::uint8_t>& contents)
    {
        body.resize(RoundUp8(body.size()));
        Put(body, parameter.at,
            PointerSlot{Below(2), static_cast<std::uint32_t>(contents.size()),
                        static_cast<std::uint32_t>(body.size() + sizeof(RecordHeader))});
        body.insert(body.end(), contents.begin(), contents.end());
    }

    std::vector<std::uint8_t> CallBody(CallId call)
    {
        std::vector<ParameterDescription> parameters;
        if (const ParameterDescription* const returned = ReturnOf(call))
            parameters.push_back(*returned);
        const auto rest = ParametersOf(call);
        parameters.insert(parameters.end(), rest.begin(), rest.end());
        std::vector<std::uint8_t> body;
        for (const ParameterDescription& parameter : parameters)
            Add(body, parameter, Number());
        for (const ParameterDescription& parameter : parameters)
            AddContents(body, parameter);
        return body;
    }

    /// A record that is no call, its fields small numbers, with `bytes` bytes after its struct.
    template <class Record> std::vector<std::uint8_t> Body(const Record& record, std::uint32_t bytes)
    {
        std::vector<std::uint8_t> body(sizeof record - sizeof(RecordHeader) + RoundUp8(bytes), 1);
        std::memcpy(body.data(), reinterpret_cast<const std::uint8_t*>(&record) + sizeof(RecordHeader),
                    sizeof record - sizeof(RecordHeader));
        return body;
    }
    template <class Record> PointerSlot Behind(std::uint32_t bytes)
    {
        return {1, Below(8) == 0 ? Number() : bytes, sizeof(Record)};
    }

    std::vector<std::uint8_t> BuiltInBody(RecordId id)
    {
        const std::uint32_t bytes = 8 * Below(24);
        switch (id) {
        case RecordId::FlushMappedBufferRange:
        case RecordId::UnmapBuffer: {
            MappedDataRecord mapped{{}, Target(), Below(3) == 0 ? Number() : 0, Behind<MappedDataRecord>(bytes)};
            return Body(mapped, bytes);
        }
        case RecordId::ConfigAttribs:
        case RecordId::SurfaceAttribs: {
            AttribsRecord attribs{{}, 1, 1, Behind<AttribsRecord>(bytes)};
            std::vector<std::uint8_t> body = Body(attribs, bytes);
            if (bytes > 0)
                Put(body, sizeof attribs + 4 * Below(bytes / 4), std::int32_t{Enum::EglNone});
            return body;
        }
        case RecordId::EGLImageCreate:
        case RecordId::EGLImageContent: {
            EGLImageRecord image{{}, 1, 1, Below(9), Below(9), Below(120), 4, Below(5), 0, {}};
            for (ImagePlaneSlot& plane : image.planes)
                plane = {Below(40), 0, Below(2) == 0 ? bytes : Number(), 0, Behind<EGLImageRecord>(bytes)};
            return Body(image, bytes);
        }
        case RecordId::DefaultColor:
        case RecordId::DefaultDepth:
        case RecordId::DefaultStencil: {
            DefaultBufferRecord buffer{{}, 1, 1, Number(), Number(), 0, 0, Behind<DefaultBufferRecord>(bytes)};
            buffer.format = Enum::Rgba;
            buffer.type = Below(4) == 0 ? Number() : Enum::UnsignedByte;
            return Body(buffer, bytes);
        }
        case RecordId::MultisampleTexture: {
            MultisampleTextureRecord texture{{}, 0x9102, 1, Number(), Number(), Number(), 0x8058, 0, 0, 16, 0, {}};
            texture.format = Enum::Rgba;
            texture.type = Enum::UnsignedByte;
            texture.layerBytes = Below(2) == 0 ? Number() : 16;
            texture.data = Behind<MultisampleTextureRecord>(bytes);
            return Body(texture, bytes);
        }
        case RecordId::Module: {
            const PointerSlot slot = Behind<ModuleRecord>(bytes);
            ModuleRecord module{{}, 1 + Below(4), 0, 0, Number(), Number(), slot, slot};
            return Body(module, bytes);
        }
        case RecordId::Stack:
            return Body(StackRecord{{}, 1 + Below(4), 0, Behind<StackRecord>(bytes / 16 * 16)}, bytes);
        case RecordId::CallStack:
            return Body(CallStackRecord{{}, Below(5), 0}, 0);
        case RecordId::ReferenceDriver:
        case RecordId::ReferenceHash:
        case RecordId::ReferencePicture:
            return ReferenceBody(id, bytes);
        default: {
            TextRecord text{{}, Number(), Behind<TextRecord>(bytes)};
            return Body(text, bytes);
        }
        }
    }

    std::vector<std::uint8_t> ReferenceBody(RecordId id, std::uint32_t bytes)
    {
        if (id == RecordId::ReferenceDriver) {
            const PointerSlot slot = Behind<ReferenceDriverRecord>(bytes);
            return Body(ReferenceDriverRecord{{}, 1 + Below(3), 0, slot, slot}, bytes);
        }
        if (id == RecordId::ReferenceHash) {
            const auto of = static_cast<ReferenceOf>(1 + Below(2));
            return Body(
                ReferenceHashRecord{
                    {}, Below(4), of, Below(3), Below(3), Number(), Number(), 0, PictureState::Hashed, 0},
                0);
        }
        return Body(ReferencePictureRecord{{}, Below(4), Below(3), Below(3), 0, Behind<ReferencePictureRecord>(bytes)},
                    bytes);
    }

    std::uint32_t Target() { return Below(4) == 0 ? Number() : Enum::ArrayBuffer; }

    std::mt19937 m_random;
};

} // namespace Data
