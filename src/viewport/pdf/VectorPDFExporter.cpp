#include "pdf/VectorPDFExporter.h"

#include <cairo-pdf.h>
#include <cairo.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <random>
#include <system_error>

#include "camera/ViewFraming.h"
#include "pdf/VectorPDFLighting.h"
#include "pdf/VectorPDFProjector.h"
#include "pdf/VectorPDFVisitor.h"

namespace vistrel::viewport::VectorPDFExporter {

namespace {

constexpr char kCreator[] = "Vistrel \xE2\x80\x94 Norvane Works";

cairo_status_t appendToBuffer(void* closure, const unsigned char* data, unsigned int length) {
    auto* buffer = static_cast<std::vector<std::uint8_t>*>(closure);
    buffer->insert(buffer->end(), data, data + length);
    return CAIRO_STATUS_SUCCESS;
}

float luminance(Float3 c) {
    return 0.2126f * c.x + 0.7152f * c.y + 0.0722f * c.z;
}

void drawBackdrop(cairo_t* cr, double width, double height, BackdropStyle style,
                  Float3 customColor) {
    const auto stops = Rendering::backdropGradientStops(style, customColor);
    // The page is drawn y-up: its top is at y = height.
    cairo_pattern_t* gradient = cairo_pattern_create_linear(0, height, 0, 0);
    cairo_pattern_add_color_stop_rgb(gradient, 0, stops.top.x, stops.top.y, stops.top.z);
    cairo_pattern_add_color_stop_rgb(gradient, 0.42, stops.mid.x, stops.mid.y, stops.mid.z);
    cairo_pattern_add_color_stop_rgb(gradient, 1, stops.bottom.x, stops.bottom.y, stops.bottom.z);
    cairo_pattern_set_extend(gradient, CAIRO_EXTEND_PAD);
    cairo_set_source(cr, gradient);
    cairo_rectangle(cr, 0, 0, width, height);
    cairo_fill(cr);
    cairo_pattern_destroy(gradient);
}

void addSegments(cairo_t* cr, const std::vector<ProjectedEdge>& edges) {
    for (const ProjectedEdge& e : edges) {
        cairo_move_to(cr, e.p0.x, e.p0.y);
        cairo_line_to(cr, e.p1.x, e.p1.y);
    }
}

void drawGrid(cairo_t* cr, const SKPModel& model, const Projector& projector,
              const Options& options) {
    const float diagonal = length(model.boundsMax - model.boundsMin);
    const double span = diagonal <= 2 ? 2.0 : double(diagonal);
    const double x = diagonal <= 2 ? 1.0 / 6 : std::max(double(diagonal) / 12, 0.1);
    double step = std::pow(10.0, std::floor(std::log10(x)));
    if (span / step > 25)
        step *= 2;
    else if (span / step < 8)
        step /= 2;
    const double major = step * 5;
    const double half = major * std::ceil(span * 0.85 / major);
    const float plane =
        (model.boundsMin.z >= -0.1f && model.boundsMin.z <= 0.1f) ? 0.0f : model.boundsMin.z;
    const Float3 mid = model.center();
    const double cx = major * std::round(mid.x / major), cy = major * std::round(mid.y / major);
    const int n = int(std::lround(half / step));
    const double extent = n * step;

    std::vector<ProjectedEdge> minor, majorLines;
    minor.reserve(size_t(4 * n + 2));
    for (int i = -n; i <= n; ++i) {
        auto& list = (i % 5 == 0) ? majorLines : minor;
        const float at = float(i * step);
        projector.projectSegment({float(cx) + at, float(cy - extent), plane},
                                 {float(cx) + at, float(cy + extent), plane}, 0, list);
        projector.projectSegment({float(cx - extent), float(cy) + at, plane},
                                 {float(cx + extent), float(cy) + at, plane}, 0, list);
    }

    const auto stops =
        Rendering::backdropGradientStops(options.backdropStyle, options.customBackdropColor);
    const double grey = luminance(stops.mid) < 0.52f ? 0.78 : 0.25;
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    cairo_set_source_rgba(cr, grey, grey, grey, 0.22);
    cairo_set_line_width(cr, 0.4);
    addSegments(cr, minor);
    cairo_stroke(cr);
    cairo_set_source_rgba(cr, grey, grey, grey, 0.4);
    cairo_set_line_width(cr, 0.65);
    addSegments(cr, majorLines);
    cairo_stroke(cr);

    const float axis = float(std::max(half * 0.6, step * 4));
    const Float3 origin{float(cx), float(cy), plane + 0.002f};
    const struct {
        Float3 direction, color;
    } axes[3] = {{{1, 0, 0}, {0.92f, 0.28f, 0.26f}},
                 {{0, 1, 0}, {0.3f, 0.76f, 0.38f}},
                 {{0, 0, 1}, {0.3f, 0.56f, 0.96f}}};
    cairo_set_line_width(cr, 1.1);
    std::vector<ProjectedEdge> line;
    for (const auto& a : axes) {
        line.clear();
        projector.projectSegment(origin, origin + a.direction * axis, 0, line);
        if (line.empty()) continue;
        cairo_set_source_rgba(cr, a.color.x, a.color.y, a.color.z, 0.88);
        addSegments(cr, line);
        cairo_stroke(cr);
    }
}

void drawShadedScene(cairo_t* cr, const std::vector<ProjectedTriangle>& triangles,
                     const std::vector<ProjectedEdge>& edges, Float3 edgeColor,
                     ShadingStyle style) {
    cairo_save(cr);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    const double minArea = triangles.size() > 150000 ? 0.35 : 0.02;
    const double minLength = edges.size() > 150000 ? 0.55 : 0.05;

    struct SortItem {
        float depth;
        std::uint32_t item;  // high bit: an edge
    };
    constexpr std::uint32_t kEdge = 0x80000000u;
    std::vector<SortItem> order;
    order.reserve(triangles.size() + edges.size());
    for (size_t i = 0; i < triangles.size(); ++i)
        if (triangles[i].area >= minArea) order.push_back({triangles[i].depth, std::uint32_t(i)});
    for (size_t i = 0; i < edges.size(); ++i)
        if (edges[i].length >= minLength)
            order.push_back({edges[i].depth, std::uint32_t(i) | kEdge});
    std::stable_sort(order.begin(), order.end(),
                     [](const SortItem& a, const SortItem& b) { return a.depth > b.depth; });

    const double edgeAlpha = style == ShadingStyle::xray ? 0.72 : 0.9;
    const double edgeWidth = edges.size() > 120000 ? 0.35 : 0.52;

    // Consecutive items that paint alike share one path: a run of edges, or a run of opaque
    // triangles of one colour. Nothing is reordered, so the page looks the same, but cairo
    // records one drawing per run rather than one per item.
    enum class Run { none, edges, opaque };
    Run run = Run::none;
    Float3 runColor;
    auto flush = [&] {
        if (run == Run::edges) {
            cairo_stroke(cr);
        } else if (run == Run::opaque) {
            // The thin stroke in the fill's colour closes the anti-aliasing seams between
            // neighbouring triangles.
            cairo_fill_preserve(cr);
            cairo_stroke(cr);
        }
        run = Run::none;
    };
    for (const SortItem& s : order) {
        if (s.item & kEdge) {
            const ProjectedEdge& e = edges[s.item & ~kEdge];
            if (run != Run::edges) {
                flush();
                cairo_set_source_rgba(cr, edgeColor.x, edgeColor.y, edgeColor.z, edgeAlpha);
                cairo_set_line_width(cr, edgeWidth);
                run = Run::edges;
            }
            cairo_move_to(cr, e.p0.x, e.p0.y);
            cairo_line_to(cr, e.p1.x, e.p1.y);
            continue;
        }
        const ProjectedTriangle& t = triangles[s.item];
        const bool opaque = t.alpha >= 0.98f;
        if (!opaque || run != Run::opaque || !(t.color == runColor)) {
            flush();
            cairo_set_source_rgba(cr, t.color.x, t.color.y, t.color.z, t.alpha);
            if (opaque) {
                cairo_set_line_width(cr, 0.22);
                run = Run::opaque;
                runColor = t.color;
            }
        }
        // One orientation for all, so that overlapping triangles in one path never cancel
        // under the winding rule.
        const double turn =
            (t.p1.x - t.p0.x) * (t.p2.y - t.p0.y) - (t.p1.y - t.p0.y) * (t.p2.x - t.p0.x);
        const PagePoint& second = turn >= 0 ? t.p1 : t.p2;
        const PagePoint& third = turn >= 0 ? t.p2 : t.p1;
        cairo_move_to(cr, t.p0.x, t.p0.y);
        cairo_line_to(cr, second.x, second.y);
        cairo_line_to(cr, third.x, third.y);
        cairo_close_path(cr);
        if (!opaque) cairo_fill(cr);
    }
    flush();
    cairo_restore(cr);
}

void drawWireframeEdges(cairo_t* cr, const std::vector<ProjectedEdge>& edges, Float3 color) {
    if (edges.empty()) return;
    cairo_save(cr);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
    cairo_set_line_width(cr, edges.size() > 120000 ? 0.38 : 0.62);
    cairo_set_source_rgba(cr, color.x, color.y, color.z, 0.94);
    const double minLength = edges.size() > 160000 ? 0.55 : 0.05;
    for (const ProjectedEdge& e : edges) {
        if (e.length < minLength) continue;
        cairo_move_to(cr, e.p0.x, e.p0.y);
        cairo_line_to(cr, e.p1.x, e.p1.y);
    }
    cairo_stroke(cr);
    cairo_restore(cr);
}

}  // namespace

std::optional<std::vector<std::uint8_t>> renderPDF(const SKPModel& model, const Options& options) {
    const double width = std::max(double(options.pageSize.x), 64.0);
    const double height = std::max(double(options.pageSize.y), 64.0);

    std::vector<std::uint8_t> data;
    cairo_surface_t* surface =
        cairo_pdf_surface_create_for_stream(appendToBuffer, &data, width, height);
    if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(surface);
        return std::nullopt;
    }
    const std::string title = model.fileInfo.url.stem().string();
    cairo_pdf_surface_set_metadata(surface, CAIRO_PDF_METADATA_TITLE, title.c_str());
    cairo_pdf_surface_set_metadata(surface, CAIRO_PDF_METADATA_CREATOR, kCreator);
    cairo_t* cr = cairo_create(surface);
    if (cairo_status(cr) != CAIRO_STATUS_SUCCESS) {
        cairo_destroy(cr);
        cairo_surface_destroy(surface);
        return std::nullopt;
    }
    cairo_set_antialias(cr, CAIRO_ANTIALIAS_DEFAULT);
    // Page coordinates are y-up from the lower left, as the projector produces them.
    cairo_translate(cr, 0, height);
    cairo_scale(cr, 1, -1);

    drawBackdrop(cr, width, height, options.backdropStyle, options.customBackdropColor);
    const Projector projector =
        Projector::make(options.pose, options.isPerspective, options.fovDegrees,
                        options.orthographicScale, width, height);
    if (options.showsGrid) drawGrid(cr, model, projector, options);

    const std::vector<ResolvedMaterial> materials = resolveMaterialColors(model);
    const Float3 edgeColor = Rendering::contrastingEdgeColor(
        options.backdropStyle, options.customBackdropColor, options.shadingStyle);
    const LightingRig lighting = LightingRig::make(options, model);
    {
        VectorPDFVisitor visitor(model, options, projector, lighting, materials);
        if (options.shadingStyle == ShadingStyle::wireframe) {
            visitor.run(false, true);
            drawWireframeEdges(cr, visitor.edges, edgeColor);
        } else {
            visitor.run(true, options.showsEdges);
            drawShadedScene(cr, visitor.triangles, visitor.edges, edgeColor, options.shadingStyle);
        }
    }

    cairo_show_page(cr);
    cairo_destroy(cr);
    cairo_surface_finish(surface);
    const bool ok = cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS;
    cairo_surface_destroy(surface);
    if (!ok) return std::nullopt;
    return data;
}

std::optional<std::string> writeFile(const std::vector<std::uint8_t>& data,
                                     const std::filesystem::path& path) {
    auto failure = [&](const std::string& reason) {
        return "Cannot write " + path.string() + ": " + reason;
    };
    std::random_device rd;
    std::filesystem::path temporary = path;
    temporary += ".part-" + std::to_string(rd());
    std::FILE* f = std::fopen(temporary.c_str(), "wb");
    if (!f) return failure(std::generic_category().message(errno));
    // A full disk may only show at the flush or the close; each failure keeps its own errno.
    int error = 0;
    if (std::fwrite(data.data(), 1, data.size(), f) != data.size() || std::fflush(f) != 0)
        error = errno ? errno : EIO;
    if (std::fclose(f) != 0 && error == 0) error = errno ? errno : EIO;
    std::error_code ec;
    if (error != 0) {
        std::filesystem::remove(temporary, ec);
        return failure(std::generic_category().message(error));
    }
    std::filesystem::rename(temporary, path, ec);
    if (ec) {
        std::error_code ignored;
        std::filesystem::remove(temporary, ignored);
        return failure(ec.message());
    }
    return std::nullopt;
}

Float2 pageSizeForView(std::optional<Float2> requested, Float2 viewSize) {
    Float2 size{1440, 900};
    if (requested)
        size = *requested;
    else if (viewSize.x > 10 && viewSize.y > 10)
        size = viewSize;
    return {std::max(size.x, 320.0f), std::max(size.y, 240.0f)};
}

Options optionsFor(const DocumentSettings& settings) {
    Options options;
    options.isPerspective = settings.isPerspective;
    options.fovDegrees = settings.fovDegrees;
    options.orthographicScale = settings.orthographicScale;
    options.exposureOffset = settings.exposureOffset;
    options.shadingStyle = settings.shadingStyle;
    options.showsEdges = settings.showsEdges;
    options.showsGrid = settings.showsGrid;
    options.backdropStyle = settings.backdropStyle;
    options.customBackdropColor = settings.customBackdropColor;
    options.lightingMode = settings.lightingMode;
    options.sunAzimuthDegrees = settings.sunAzimuthDegrees;
    options.sunElevationDegrees = settings.sunElevationDegrees;
    options.sunIntensity = settings.sunIntensity;
    options.ambientIntensity = settings.ambientIntensity;
    return options;
}

Options initialViewOptions(const SKPModel& model, Float2 pageSize,
                           const DocumentSettings& settings) {
    Options options = optionsFor(settings);
    options.pageSize = {std::max(pageSize.x, 64.0f), std::max(pageSize.y, 64.0f)};
    options.visibleLayers.reserve(model.layers.size());
    for (const Layer& layer : model.layers) options.visibleLayers.push_back(layer.isVisible);
    const auto bounds = ViewFraming::visibleBounds(model, options.visibleLayers);
    const auto view = ViewFraming::initialView(model, bounds.min, bounds.max, options.pageSize,
                                               settings.fovDegrees, settings.isPerspective);
    options.pose = view.pose;
    options.isPerspective = view.isPerspective;
    options.fovDegrees = view.fovDegrees;
    options.orthographicScale = view.orthographicScale;
    return options;
}

std::optional<std::string> exportInitialView(const SKPModel& model,
                                             const std::filesystem::path& path,
                                             std::optional<Float2> pageSize) {
    const auto data =
        renderPDF(model, initialViewOptions(model, pageSizeForView(pageSize, {0, 0})));
    if (!data) return std::string("Failed to generate vector PDF");
    return writeFile(*data, path);
}

}  // namespace vistrel::viewport::VectorPDFExporter
