#include "FaceDetector.h"

#include <QFileInfo>

#include <opencv2/imgproc.hpp>
#include <opencv2/objdetect.hpp>

#include <algorithm>
#include <array>
#include <vector>

namespace orvane {

namespace {

// Detection runs on a copy no wider than this: faces worth framing stay well above the cascade's 24 pixel
// window, and the cost falls with the square of the size.
constexpr int detectionWidth = 640;

QString findCascade() {
    constexpr std::array places{"/usr/share/opencv4/haarcascades/haarcascade_frontalface_default.xml",
                                "/usr/share/opencv/haarcascades/haarcascade_frontalface_default.xml",
                                "/usr/local/share/opencv4/haarcascades/haarcascade_frontalface_default.xml"};
    for (const char* place : places)
        if (QFileInfo::exists(QString::fromLatin1(place)))
            return QString::fromLatin1(place);
    return {};
}

} // namespace

struct FaceDetector::Cascade {
    cv::CascadeClassifier classifier;
};

FaceDetector::FaceDetector(const QString& cascadePath)
    : m_cascade(std::make_unique<Cascade>()) {
    const QString path = cascadePath.isEmpty() ? findCascade() : cascadePath;
    if (!path.isEmpty())
        m_cascade->classifier.load(QFileInfo(path).absoluteFilePath().toStdString());
}

FaceDetector::~FaceDetector() = default;

bool FaceDetector::isLoaded() const {
    return !m_cascade->classifier.empty();
}

std::optional<QRectF> FaceDetector::largestFace(const QImage& picture) {
    if (!isLoaded() || picture.isNull())
        return std::nullopt;
    QImage image = picture.width() > detectionWidth
                       ? picture.scaledToWidth(detectionWidth, Qt::SmoothTransformation)
                       : picture;
    image = image.convertToFormat(QImage::Format_Grayscale8);
    const cv::Mat grey(image.height(), image.width(), CV_8UC1, const_cast<uchar*>(image.constBits()),
                       size_t(image.bytesPerLine()));
    cv::Mat equalised;
    cv::equalizeHist(grey, equalised);
    std::vector<cv::Rect> faces;
    m_cascade->classifier.detectMultiScale(equalised, faces, 1.1, 4, 0, cv::Size(24, 24));
    if (faces.empty())
        return std::nullopt;
    // The first of the largest: max_element keeps the earliest of equal areas.
    const auto largest = std::max_element(
        faces.begin(), faces.end(), [](const cv::Rect& a, const cv::Rect& b) { return a.area() < b.area(); });
    const double w = image.width();
    const double h = image.height();
    return QRectF(largest->x / w, largest->y / h, largest->width / w, largest->height / h);
}

} // namespace orvane
