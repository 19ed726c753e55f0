#pragma once

#include <string>
#include <utility>

/// What the camera knows of one of its modules: an id, two labels, and two texts for the module.
class ModuleConfigure {
public:
    int getModuleId() const { return m_nModuleId; }
    void setModuleId(int id) { m_nModuleId = id; }

    const std::string& getLabel() const { return m_strLabel; }
    void setLabel(std::string label) { m_strLabel = std::move(label); }

    const std::string& getShortLabel() const { return m_strShortLabel; }
    void setShortLabel(std::string label) { m_strShortLabel = std::move(label); }

    /// The module's parameters, a free text.
    const std::string& getParameters() const { return m_strParameters; }
    void setParameters(std::string parameters) { m_strParameters = std::move(parameters); }

    /// The module's details: a run of parenthesised fields such as (max_scheme=4)(isInfrared=1).
    const std::string& getDetail() const { return m_strDetail; }
    void setDetail(std::string detail) { m_strDetail = std::move(detail); }

private:
    int m_nModuleId = 0;
    std::string m_strLabel;
    std::string m_strShortLabel;
    std::string m_strParameters;
    std::string m_strDetail;
};
