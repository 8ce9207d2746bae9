// The engine for Python: the shipped presets over numpy arrays and photo
// files, with the command-line tool's rules and messages.
#include <cstring>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>


#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "core/OVThreading.h"
#include "extension/EditingSession.h"
#include "extension/FileNames.h"
#include "extension/PhotoRender.h"

namespace py = pybind11;

namespace {

// A failure worded as the tool words it: "SUBJECT: reason".
struct Failure : std::runtime_error
{
    Failure(QString const& subject, QString const& reason)
        : std::runtime_error((subject + ": " + reason).toStdString())
    {
    }
};

// One library of presets for the process. Looking presets up and copying
// them happens under the lock; rendering the copies does not.
struct Presets
{
    std::mutex lock;
    EditingSession session;

    static Presets& shared()
    {
        static Presets presets;
        return presets;
    }

    // The preset as asked for, as a copy the caller owns.
    std::unique_ptr<ImageMod> look(std::string const& name, float amount, std::optional<double> remix, bool lenient)
    {
        if (!(amount >= 0.0f && amount <= 1.0f))
            throw py::value_error("amount must be from 0 to 1");
        std::lock_guard<std::mutex> guard(lock);
        QString subject, reason;
        PresetLibrary::Entry const* entry = session.findPreset(QString::fromStdString(name), &subject, &reason);
        if (!entry)
            throw Failure(subject, reason);
        if (!lenient && entry->report.unknownFilters.count + entry->report.mistakes.count > 0)
            throw Failure(entry->path.c_str(), "not rendered: the preset has mistakes (lenient=True renders it anyway)");
        if (remix && !EditingSession::hasRemix(entry->preset))
            throw Failure(QString::fromStdString(name), "has no camera style, so nothing to remix");
        double const variation = remix.value_or(0.0);
        return std::unique_ptr<ImageMod>(
            EditingSession::adjustedCopy(*entry->preset, amount, remix ? &variation : nullptr));
    }
};

py::list presetNames()
{
    Presets& presets = Presets::shared();
    std::lock_guard<std::mutex> guard(presets.lock);
    if (presets.session.library.entries.count == 0)
        presets.session.loadStandardPresets();
    py::list names;
    for (PresetLibrary::Entry const& entry : presets.session.library.entries)
        names.append(py::str(entry.preset->name.c_str()));
    return names;
}

// Renders look over samples in place: a picture of the array's shape whose
// pixels stay the array's.
template <typename T>
void renderInPlace(ImageMod* look, T* samples, int height, int width, int channels)
{
    FlexImage<T> picture;
    picture.pixels = samples;
    picture.width = width;
    picture.height = height;
    picture.channels = channels;
    picture.ownsPixels = false;
    EditingSession::render(look, &picture, static_cast<FlexImage<T>*>(nullptr));
    picture.pixels = nullptr;
}

py::array apply(py::array const& input, std::string const& preset, float amount, std::optional<double> remix,
                bool lenient)
{
    bool const bytes = py::dtype::of<uint8_t>().is(input.dtype());
    bool const floats = py::dtype::of<float>().is(input.dtype());
    if (!bytes && !floats)
        throw py::type_error("apply takes a uint8 or float32 array");
    if (input.ndim() != 3 || (input.shape(2) != 3 && input.shape(2) != 4))
        throw py::value_error("apply takes an array of height x width x 3 (or 4, with alpha)");
    int const height = int(input.shape(0));
    int const width = int(input.shape(1));
    int const channels = int(input.shape(2));
    std::unique_ptr<ImageMod> look = Presets::shared().look(preset, amount, remix, lenient);

    // The result starts as the one copy of the input (contiguous, whatever
    // the input's strides) and is rendered where it lies.
    py::array result = py::module_::import("numpy").attr("array")(input, py::arg("dtype") = input.dtype(),
                                                                   py::arg("order") = "C", py::arg("copy") = true);
    void* samples = result.mutable_data();
    size_t const count = size_t(result.size());
    {
        py::gil_scoped_release released;
        if (bytes) {
            renderInPlace(look.get(), static_cast<unsigned char*>(samples), height, width, channels);
        } else {
            // Float arrays are on 0-1, as numpy pictures usually are; the
            // engine works on 0-255.
            auto* f = static_cast<float*>(samples);
            for (size_t i = 0; i < count; ++i)
                f[i] *= 255.0f;
            renderInPlace(look.get(), f, height, width, channels);
            for (size_t i = 0; i < count; ++i)
                f[i] *= 1.0f / 255.0f;
        }
    }
    return result;
}

void applyFile(std::string const& source, std::string const& destination, std::string const& preset, float amount,
               std::optional<double> remix, int quality, bool stripMetadata, bool lenient)
{
    QString const photo = QString::fromStdString(source);
    QString const output = QString::fromStdString(destination);
    if (!(quality >= 1 && quality <= 100))
        throw py::value_error("quality must be from 1 to 100");
    std::unique_ptr<ImageMod> look = Presets::shared().look(preset, amount, remix, lenient);
    if (namesOneOf(output, QStringList{photo}))
        throw Failure(output, "would write over an input photo; choose another output");
    QString error;
    if (!checkOutputPath(output, &error))
        throw Failure(output, error);
    PhotoWriteOptions options;
    options.quality = quality;
    options.qualityChosen = true;
    options.keepMetadata = !stripMetadata;
    RenderFailure failure;
    bool saved;
    {
        py::gil_scoped_release released;
        saved = renderPhotoFile(photo, look.get(), output, options, defaultMaxMegapixels, &failure);
    }
    if (!saved)
        throw Failure(failure.photoAtFault ? photo : output, failure.reason);
}

} // namespace

PYBIND11_MODULE(quillmere, m)
{
    m.doc() = "Quillmere's photo filters: the shipped presets and camera styles over numpy arrays and photo files.";
    prepareForWorkerThreads();
    loadEveryImageFormat();
    py::register_exception<Failure>(m, "Error");

    m.def("presets", &presetNames, "The names of the presets, in the order the tools list them.");
    m.def("apply", &apply, py::arg("array"), py::kw_only(), py::arg("preset"), py::arg("amount") = 1.0f,
          py::arg("remix") = py::none(), py::arg("lenient") = false,
          "Renders a preset (by name, or a .qmf file) over an H x W x 3 (or 4) array, uint8 (0-255) or float32 "
          "(0-1), and returns a new array of the same shape and type. amount blends it (0 to 1); remix sets the "
          "Remix of its camera styles (0 to 1). The GIL is released while rendering.");
    m.def("apply_file", &applyFile, py::arg("src"), py::arg("dst"), py::kw_only(), py::arg("preset"),
          py::arg("amount") = 1.0f, py::arg("remix") = py::none(), py::arg("quality") = 100,
          py::arg("strip_metadata") = false, py::arg("lenient") = false,
          "Renders a preset over the photo src at full size and writes dst (JPEG, PNG, TIFF or WebP by its "
          "extension) as the quillmere tool does: whole or not at all, never over src, keeping the photo's "
          "metadata unless strip_metadata.");
    m.attr("__version__") = QUILLMERE_VERSION;
}
