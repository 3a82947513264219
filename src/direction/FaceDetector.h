#pragma once

#include <QImage>
#include <QRectF>
#include <QString>

#include <memory>
#include <optional>

namespace orvane {

// Finds faces in pictures with OpenCV's frontal-face cascade. Without the cascade's data file (Debian's
// opencv-data) it finds none, which its callers already treat as a picture without a face.
//
// One detector serves one thread at a time.
class FaceDetector {
public:
    // `cascadePath` empty: the first of the usual install places that holds the file.
    explicit FaceDetector(const QString& cascadePath = QString());
    ~FaceDetector();
    FaceDetector(const FaceDetector&) = delete;
    FaceDetector& operator=(const FaceDetector&) = delete;

    bool isLoaded() const;
    // The box of the largest face (the first found of equal ones), normalised to the picture with the
    // origin at the top left.
    std::optional<QRectF> largestFace(const QImage& picture);

private:
    struct Cascade;
    std::unique_ptr<Cascade> m_cascade;
};

} // namespace orvane
