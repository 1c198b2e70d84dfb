#include "TouchingAdapters.h"
#include "support/ProgramTest.h"

namespace Data {

namespace {

using ::testing::HasSubstr;

/// Captures that ask for memory which is not theirs. Each is read with adapters that use every byte, and replayed by
/// the program; sanitizers see to it that nothing is reached that should not be.
class HostileRecordsTest : public ProgramTest {
protected:
    static constexpr std::uint32_t ArrayBuffer = Enum::ArrayBuffer;

    /// A record with `room` bytes after the struct.
    template <class Record> void Add(RecordId id, Record record, std::uint32_t room = 0)
    {
        std::uint8_t* const at = writer->Begin(static_cast<std::uint32_t>(id), sizeof record + room);
        ASSERT_NE(at, nullptr);
        std::memcpy(&record.header, at, sizeof record.header);
        std::memcpy(at, &record, sizeof record);
        writer->End();
    }
    /// Room after the struct of a record.
    template <class Record> static PointerSlot Behind(std::uint32_t bytes) { return {1, bytes, sizeof(Record)}; }

    /// Buffer 1 with 4096 bytes, bound and mapped to be written.
    void Map(std::uint32_t bytes)
    {
        Begin();
        Call(CallId::glGenBuffers, 2, std::vector<std::uint32_t>{1, 2});
        Call(CallId::glBindBuffer, ArrayBuffer, 1);
        Call(CallId::glBufferData, ArrayBuffer, 4096, 0, 0x88E4);
        Call(CallId::glMapBufferRange, 0x5000, ArrayBuffer, 0, bytes, 0x12);
    }
    void Flush(std::uint32_t offset, std::uint32_t bytes)
    {
        const std::vector<std::uint8_t> data(bytes, 7);
        writer->FlushMappedBufferRange(ArrayBuffer, offset, data.data(), bytes);
    }
    void Unmap(std::uint32_t bytes)
    {
        const std::vector<std::uint8_t> data(bytes, 7);
        writer->UnmapBuffer(ArrayBuffer, data.data(), bytes);
        Call(CallId::glUnmapBuffer, 1, ArrayBuffer);
    }
    /// A plane of `bytes` bytes, of which 256 are there.
    void Plane(std::uint32_t stride, std::uint64_t bytes, std::uint32_t width, std::uint32_t height,
               std::uint32_t plane = 0)
    {
        EGLImageRecord image{};
        image.display = image.image = 1;
        image.width = width;
        image.height = height;
        image.format = 28;
        image.planeCount = plane + 1;
        image.planes[plane] = {stride, 0, bytes, 0, Behind<EGLImageRecord>(256)};
        Add(RecordId::EGLImageCreate, image, 256);
        image.display = 0;
        Add(RecordId::EGLImageContent, image, 256);
    }
    void Color(std::uint32_t width, std::uint32_t height, std::uint32_t bytes, std::uint32_t type = Enum::UnsignedByte)
    {
        DefaultBufferRecord buffer{};
        buffer.display = buffer.surface = 1;
        buffer.width = width;
        buffer.height = height;
        buffer.format = Enum::Rgba;
        buffer.type = type;
        buffer.data = Behind<DefaultBufferRecord>(bytes);
        Add(RecordId::DefaultColor, buffer, std::min(bytes, 64u));
    }
    /// Layers of 16 bytes, of which 32 bytes are there.
    void Layers(std::uint32_t depth, std::uint32_t layerBytes)
    {
        MultisampleTextureRecord texture{};
        texture.target = 0x9102; // GL_TEXTURE_2D_MULTISAMPLE_ARRAY
        texture.width = texture.height = 2;
        texture.depth = depth;
        texture.format = Enum::Rgba;
        texture.type = Enum::UnsignedByte;
        texture.internalFormat = 0x8058;
        texture.layerBytes = layerBytes;
        texture.data = Behind<MultisampleTextureRecord>(32);
        Add(RecordId::MultisampleTexture, texture, 32);
    }
    void List(RecordId id, const std::vector<std::int32_t>& values)
    {
        if (id == RecordId::ConfigAttribs)
            writer->ConfigAttribs(1, 1, values.data(), static_cast<std::uint32_t>(values.size()));
        else
            writer->SurfaceAttribs(1, 1, values.data(), static_cast<std::uint32_t>(values.size()));
    }
    /// A draw from "offset" 0x10000 of the buffer that the capture has bound.
    void DrawFromOffset()
    {
        Call(CallId::glVertexAttribPointer, 0, 4, Enum::Float, 0, 0, 0x10000);
        Call(CallId::glEnableVertexAttribArray, 0);
        Call(CallId::glDrawArrays, 4, 0, 3);
    }
    /// A vertex array, 1, that reads attribute 0 from buffer 1; bound, with a program in use.
    void MakeVertexArray()
    {
        Map(16), Unmap(16);
        UseProgram();
        Call(CallId::glGenVertexArrays, 1, std::vector<std::uint32_t>{1});
        Call(CallId::glBindVertexArray, 1);
        Call(CallId::glVertexAttribPointer, 0, 4, Enum::Float, 0, 0, 0);
    }
    /// A program whose one attribute is number 0.
    void UseProgram()
    {
        Call(CallId::glCreateProgram, 1);
        std::uint32_t shader = 1;
        for (const auto& [type, source] :
             {std::pair{0x8B31, "attribute vec4 p;void main(){gl_Position=p;}"}, {0x8B30, "void main(){}"}}) {
            Call(CallId::glCreateShader, ++shader, type);
            Call(CallId::glShaderSource, shader, 1, std::vector<std::string>{source}, 0);
            Call(CallId::glCompileShader, shader);
            Call(CallId::glAttachShader, 1, shader);
        }
        Call(CallId::glBindAttribLocation, 1, 0, "p");
        Call(CallId::glLinkProgram, 1);
        Call(CallId::glUseProgram, 1);
    }

    struct Case {
        const char* what;
        std::function<void()> write;
        /// What the program says. Empty for what is harmless.
        const char* message;
    };

    void Check(const std::vector<Case>& cases, const std::string& options)
    {
        for (const Case& hostile : cases) {
            SCOPED_TRACE(hostile.what);
            std::string error;
            writer = CaptureWriter::Create(path, header, error);
            ASSERT_NE(writer, nullptr) << error;
            hostile.write();
            Touch();
            const Result result = Run(options);
            // Where nothing but the refused record is in the capture, nothing is replayed.
            const bool isNothing = result.output.find("Nothing was replayed.") != std::string::npos;
            EXPECT_EQ(result.status, isNothing ? 4 : 0) << result.output;
            EXPECT_THAT(result.output, HasSubstr(hostile.message));
        }
    }
    void Touch()
    {
        const std::unique_ptr<CaptureFile> capture = Open();
        ASSERT_NE(capture, nullptr) << openError;
        PlayTouching(*capture);
        writer.reset();
    }
};

constexpr const char* NoMapping = "expected a mapping that holds the data";
constexpr const char* NoVertices = "client memory of attribute 0: expected 3 vertices from 0, found none";
constexpr const char* NoContext = "expected the captured one to be current";

TEST_F(HostileRecordsTest, TheReaderRefusesThem)
{
    const auto attribs = {RecordId::ConfigAttribs, RecordId::SurfaceAttribs};
    std::vector<Case> cases = {
        {"a flush beyond the map", [&] { Map(16), Flush(12, 8); }, NoMapping},
        {"an unmap after an unmap", [&] { Map(16), Unmap(16), Unmap(16); }, NoMapping},
        {"a flush after new storage",
         [&] { Map(16), Call(CallId::glBufferData, ArrayBuffer, 4, 0, 0x88E4), Flush(0, 16); }, NoMapping},
        {"a flush of a deleted buffer",
         [&] { Map(16), Call(CallId::glDeleteBuffers, 1, std::vector<std::uint32_t>{1}), Flush(0, 16); }, NoMapping},
        {"a flush of a buffer whose target was mapped again",
         [&] {
             Map(4096);
             Call(CallId::glBindBuffer, ArrayBuffer, 2);
             Call(CallId::glBufferData, ArrayBuffer, 16, 0, 0x88E4);
             Call(CallId::glMapBufferRange, 0x6000, ArrayBuffer, 0, 16, 2);
             Call(CallId::glBindBuffer, ArrayBuffer, 1);
             Flush(0, 4096);
         },
         NoMapping},
        {"a flush in another context", [&] { Map(16), MakeContext(2, 1), MakeCurrent(2), Flush(0, 16); }, NoMapping},
        {"a flush whose data leaves the record",
         [&] {
             Map(16);
             MappedDataRecord flush{};
             flush.target = ArrayBuffer;
             flush.data = Behind<MappedDataRecord>(0xFFFFFFF0);
             Add(RecordId::FlushMappedBufferRange, flush, 8);
         },
         "data of a flushed range: contents"},

        {"more rows than the image", [&] { Begin(), Plane(16, 256, 4, 15); }, "plane 0: expected at most 15 rows"},
        {"rows shorter than the image", [&] { Begin(), Plane(8, 256, 1u << 31, 1u << 31); }, ""},
        {"a size that overflows", [&] { Begin(), Plane(0xFFFFFFFF, ~0ull, ~0u, ~0u); }, "EGLImage: contents"},
        {"many planes",
         [&] {
             Begin();
             EGLImageRecord image{};
             image.planeCount = 0xFFFFFFFF;
             Add(RecordId::EGLImageContent, image);
         },
         "planes: expected at most 3, found 4294967295"},
        {"contents of an image that nobody made",
         [&] {
             Begin();
             EGLImageRecord image{};
             image.image = 99;
             Add(RecordId::EGLImageContent, image);
             Call(CallId::eglCreateImageKHR, 99, 1, 0, 0x3140, 1, 0);
             Call(CallId::glEGLImageTargetTexture2DOES, 0x0DE1, 99);
         },
         ""},

        {"a picture larger than its data", [&] { Begin(), Color(4, 4, 60); },
         "default framebuffer: contents: expected 64"},
        {"a picture of unknown pixels", [&] { Begin(), Color(1, 1, 64, 0x9999); }, "default framebuffer: contents"},
        {"layers beyond the data", [&] { Begin(), Layers(3, 16); }, "multisample texture: contents"},
        {"layers without number", [&] { Begin(), Layers(~0u, ~0u); }, "multisample texture: contents"},

        {"a size that no surface has",
         [&] {
             Begin();
             for (const std::uint32_t size : {0u, 0x80000000u, ~0u})
                 writer->WindowSize(1, 1, size, size);
             MakeCurrent(1);
             Call(CallId::eglSwapBuffers, 1, 1, 1);
         },
         ""},
        {"text that leaves the record",
         [&] {
             Add(RecordId::TextAscii, TextRecord{{}, 0, Behind<TextRecord>(4096)}, 8);
         },
         "text: contents"},
        {"a record that is too short", [&] { Add(RecordId::EGLImageCreate, BlockRecord{}); },
         "EGLImage: the record: expected"},
        {"a record that nobody knows", [&] { Add(static_cast<RecordId>(0x20000), BlockRecord{}, 64); },
         "records of kind 131072 that this program does not know"},

        {"GL calls of a thread that has no context", [&] { Map(16), writer->SetThread(7), DrawFromOffset(); },
         NoContext},
        {"GL calls after the context was let go",
         [&] { Map(16), Call(CallId::eglMakeCurrent, 1, 1, 0, 0, 0), DrawFromOffset(); }, NoContext},
        {"GL calls with a surface that nobody made",
         [&] { Map(16), MakeContext(2), Call(CallId::eglMakeCurrent, 1, 1, 9, 9, 2), DrawFromOffset(); }, NoContext},
        {"GL calls after the display was ended and the context made again",
         [&] { Map(16), Call(CallId::eglTerminate, 1, 1), MakeContext(1), Flush(0, 16), DrawFromOffset(); }, NoContext},
        {"a context destroyed while a map lives",
         [&] { Map(16), Call(CallId::eglDestroyContext, 1, 1, 1), Flush(0, 16), DrawFromOffset(); }, NoContext},
        {"names that went with the first context of a group",
         [&] {
             Map(16);
             MakeContext(2, 1);
             MakeCurrent(2);
             Call(CallId::eglDestroyContext, 1, 1, 1);
             Call(CallId::glBindBuffer, ArrayBuffer, 1);
             DrawFromOffset();
         },
         "glBindBuffer: buffer: expected a buffer that was generated, found 1"},
        {"a name that stands for none",
         [&] {
             Begin();
             Call(CallId::glGenBuffers, 1, std::vector<std::uint32_t>{~0u});
             Call(CallId::glBindBuffer, ArrayBuffer, -1);
             DrawFromOffset();
         },
         "expected a buffer that was generated"},
    };
    for (const RecordId id : attribs) {
        const char* const message = "attributes: the list: expected a closing EGL_NONE";
        cases.push_back({"a list without an end", [this, id] { List(id, {0x3024, 8}); }, message});
        cases.push_back({"an end where a value belongs",
                         [this, id] {
                             List(id, {0x3024, Enum::EglNone, 0x3023, 8, 0x3022});
                         },
                         message});
        cases.push_back({"a list without values", [this, id] { List(id, {}); }, "attributes: contents"});
    }
    Check(cases, "-driver " FAKE_DRIVER_DIR);
}

/// What only shows where a driver has memory of its own, since the capture is true as far as it can be told.
TEST_F(HostileRecordsTest, TheDriverConfirmsWhatIsMapped)
{
    constexpr std::uint32_t CopyWrite = Enum::CopyWriteBuffer;
    const char* const gone = "the driver has no such mapping";
    const std::vector<Case> cases = {
        {"mapped anew through another target",
         [&] {
             Map(4096);
             Call(CallId::glBindBuffer, CopyWrite, 1);
             Call(CallId::glUnmapBuffer, 1, CopyWrite);
             Call(CallId::glBufferData, CopyWrite, 16, 0, 0x88E4);
             Call(CallId::glMapBufferRange, 0x6000, CopyWrite, 0, 16, 2);
             Flush(0, 16);
         },
         gone},
        {"storage that the driver did not take for immutable",
         [&] {
             Begin();
             Call(CallId::glGenBuffers, 1, std::vector<std::uint32_t>{1});
             Call(CallId::glBindBuffer, ArrayBuffer, 1);
             Call(CallId::glBufferData, ArrayBuffer, 1 << 20, 0, 0x88E4);
             Call(CallId::glBufferStorageEXT, ArrayBuffer, 1 << 20, 0, 0xFFFF);
             Call(CallId::glMapBufferRange, 0x5000, ArrayBuffer, 0, 1 << 20, 2);
             Call(CallId::glBufferData, ArrayBuffer, 16, 0, 0x88E4);
             Flush(0, 1 << 20);
         },
         gone},
        {"vertex arrays whose name is given twice",
         [&] {
             MakeVertexArray();
             Call(CallId::glGenVertexArrays, 1, std::vector<std::uint32_t>{1});
             Call(CallId::glBindVertexArray, 1);
             Call(CallId::glEnableVertexAttribArray, 0);
             Call(CallId::glDrawArrays, 4, 0, 3);
         },
         NoVertices},
        {"indices of a vertex array whose name is given twice",
         [&] {
             MakeVertexArray();
             Call(CallId::glBindBuffer, Enum::ElementArrayBuffer, 1);
             Call(CallId::glGenVertexArrays, 1, std::vector<std::uint32_t>{1});
             Call(CallId::glBindVertexArray, 1);
             Call(CallId::glDrawElements, 4, 3, Enum::UnsignedShort, 64);
         },
         "glDrawElements: indices: expected contents"},
        {"an attribute that another program has elsewhere",
         [&] {
             MakeVertexArray();
             Call(CallId::glGetAttribLocation, 5, 1, "p");
             Call(CallId::glEnableVertexAttribArray, 5);
             Call(CallId::glBindVertexArray, 0);
             Call(CallId::glEnableVertexAttribArray, 5);
             Call(CallId::glUseProgram, 0);
             Call(CallId::glVertexAttribPointer, 5, 4, Enum::Float, 0, 0, 64);
             Call(CallId::glUseProgram, 1);
             Call(CallId::glDrawArrays, 4, 0, 3);
         },
         NoVertices},
        {"an array buffer bound where there are no such bindings",
         [&] {
             MakeVertexArray();
             Call(CallId::glBindVertexArray, 0);
             Call(CallId::glBindBuffer, ArrayBuffer, 0);
             Call(CallId::glBindBufferBase, ArrayBuffer, 0, 1);
             DrawFromOffset();
         },
         NoVertices},
        {"pictures while uploads skip rows",
         [&] {
             Begin();
             Call(CallId::glPixelStorei, Enum::UnpackRowLength, 1 << 20);
             Call(CallId::glPixelStorei, Enum::UnpackSkipRows, 1 << 10);
             Color(4, 4, 64);
             Layers(2, 16);
         },
         ""},
        {"an offset into a buffer that is not there any more",
         [&] {
             Map(16);
             UseProgram();
             MakeContext(2, 1);
             MakeCurrent(2);
             Call(CallId::glUseProgram, 1);
             Call(CallId::eglDestroyContext, 1, 1, 1);
             Call(CallId::glBindBuffer, ArrayBuffer, 1);
             DrawFromOffset();
         },
         "expected a buffer that was generated"},
        {"an image of a texture without its context",
         [&] {
             Begin();
             for (const std::uint32_t context : {0u, 9u})
                 Call(CallId::eglCreateImageKHR, 5, 1, context, 0x30B1, 1, 0);
         },
         "there is no context 9 for its object"},
        {"an offset while another context is current",
         [&] {
             Map(16);
             UseProgram();
             Call(CallId::glBindBuffer, ArrayBuffer, 0);
             MakeContext(2);
             Call(CallId::eglMakeCurrent, 1, 1, 9, 9, 2);
             Call(CallId::glGenBuffers, 1, std::vector<std::uint32_t>{5});
             Call(CallId::glBindBuffer, ArrayBuffer, 5);
             MakeCurrent(1);
             Call(CallId::eglMakeCurrent, 1, 1, 9, 9, 2);
             DrawFromOffset();
         },
         NoContext},
    };
    Check(cases, "");
}

} // namespace

} // namespace Data
