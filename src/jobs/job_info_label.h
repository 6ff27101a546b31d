#pragma once

#include <QLabel>

#include <string>

namespace CvJobs {

// One text column of a job row (client, device, recovery point, local cache, description).
class JobInfoLabel : public QLabel {
    Q_OBJECT
public:
    static constexpr int ChunkLength = 10;

    // A recovery point shows as the wizard's date and time, with its name in the tool tip.
    explicit JobInfoLabel(const std::string& value, QWidget* parent = nullptr, bool recoveryPoint = false);

    // Shows another value; false when it was the one shown.
    bool setValue(const std::string& value);

private:
    void display(const std::string& value);

    std::string m_value;
    bool m_recoveryPoint;
};

} // namespace CvJobs
