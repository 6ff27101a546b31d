#pragma once

#include <QLabel>

#include <string>

namespace CvJobs {

// One text column of a job row (client, device, recovery point, local cache, description).
class JobInfoLabel : public QLabel {
    Q_OBJECT
public:
    static constexpr int ChunkLength = 10;

    explicit JobInfoLabel(const std::string& value, QWidget* parent = nullptr);

    // Shows another value; false when it was the one shown.
    bool setValue(const std::string& value);

private:
    std::string m_value;
};

} // namespace CvJobs
