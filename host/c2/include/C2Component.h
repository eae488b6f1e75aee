// Stand-in for the Codec 2.0 support library's <C2Component.h>: what a component, its interface and
// a store of components implement. Interfaces only: the names of the functions say whether a call
// may block (_vb: if asked to, _sm: a short time, _nb: never).
#pragma once

#include <C2Param.h>
#include <C2Work.h>

#include <list>

class C2GraphicBuffer;

// The parameters of a component; usable without the component itself, and from any thread.
class C2ComponentInterface {
  public:
    virtual ~C2ComponentInterface() = default;

    virtual C2String getName() const = 0;
    virtual c2_node_id_t getId() const = 0;

    // Reads into stackParams, and appends a copy of each heapParamIndices to heapParams.
    virtual c2_status_t query_vb(const std::vector<C2Param*>& stackParams,
                                 const std::vector<C2Param::Index>& heapParamIndices,
                                 c2_blocking_t mayBlock,
                                 std::vector<std::unique_ptr<C2Param>>* const heapParams) const = 0;
    // Takes the values of params, and writes back what they became.
    virtual c2_status_t config_vb(
        const std::vector<C2Param*>& params, c2_blocking_t mayBlock,
        std::vector<std::unique_ptr<C2SettingResult>>* const failures) = 0;

    virtual c2_status_t createTunnel_sm(c2_node_id_t targetComponent) = 0;
    virtual c2_status_t releaseTunnel_sm(c2_node_id_t targetComponent) = 0;

    virtual c2_status_t querySupportedParams_nb(
        std::vector<std::shared_ptr<C2ParamDescriptor>>* const params) const = 0;
    virtual c2_status_t querySupportedValues_vb(std::vector<C2FieldSupportedValuesQuery>& fields,
                                                c2_blocking_t mayBlock) const = 0;
};

class C2Component {
  public:
    // Called by the component from one thread at a time.
    class Listener {
      public:
        virtual ~Listener() = default;
        virtual void onWorkDone_nb(std::weak_ptr<C2Component> component,
                                   std::list<std::unique_ptr<C2Work>> workItems) = 0;
        virtual void onTripped_nb(std::weak_ptr<C2Component> component,
                                  std::vector<std::shared_ptr<C2SettingResult>> settingResult) = 0;
        virtual void onError_nb(std::weak_ptr<C2Component> component, uint32_t errorCode) = 0;
    };

    enum domain_t : uint32_t { DOMAIN_OTHER = 0, DOMAIN_VIDEO, DOMAIN_AUDIO, DOMAIN_IMAGE };
    enum kind_t : uint32_t { KIND_OTHER = 0, KIND_DECODER, KIND_ENCODER };
    enum attrib_t : uint64_t { ATTRIB_IS_TEMPORAL = 1u << 0 };
    using rank_t = uint32_t;

    // What a store says of a component.
    struct Traits {
        C2String name;
        domain_t domain = DOMAIN_OTHER;
        kind_t kind = KIND_OTHER;
        rank_t rank = 0;
        C2String mediaType;
        C2String owner;
        std::vector<C2String> aliases;
    };

    enum flush_mode_t : uint32_t { FLUSH_COMPONENT = 0, FLUSH_CHAIN = 1 << 16 };
    enum drain_mode_t : uint32_t {
        DRAIN_COMPONENT_WITH_EOS = 0,
        DRAIN_COMPONENT_NO_EOS = 1,
        DRAIN_CHAIN = 1 << 16,
    };

    virtual ~C2Component() = default;

    virtual c2_status_t setListener_vb(const std::shared_ptr<Listener>& listener,
                                       c2_blocking_t mayBlock) = 0;
    virtual c2_status_t queue_nb(std::list<std::unique_ptr<C2Work>>* const items) = 0;
    virtual c2_status_t announce_nb(const std::vector<C2WorkOutline>& items) = 0;
    virtual c2_status_t flush_sm(flush_mode_t mode,
                                 std::list<std::unique_ptr<C2Work>>* const flushedWork) = 0;
    virtual c2_status_t drain_nb(drain_mode_t mode) = 0;
    virtual c2_status_t start() = 0;
    virtual c2_status_t stop() = 0;
    virtual c2_status_t reset() = 0;
    virtual c2_status_t release() = 0;
    virtual std::shared_ptr<C2ComponentInterface> intf() = 0;
};

class C2ComponentStore {
  public:
    virtual ~C2ComponentStore() = default;

    virtual C2String getName() const = 0;
    virtual c2_status_t createComponent(C2String name,
                                        std::shared_ptr<C2Component>* const component) = 0;
    virtual c2_status_t createInterface(C2String name,
                                        std::shared_ptr<C2ComponentInterface>* const interface) = 0;
    virtual std::vector<std::shared_ptr<const C2Component::Traits>> listComponents() = 0;
    virtual c2_status_t copyBuffer(std::shared_ptr<C2GraphicBuffer> src,
                                   std::shared_ptr<C2GraphicBuffer> dst) = 0;
    virtual c2_status_t query_sm(const std::vector<C2Param*>& stackParams,
                                 const std::vector<C2Param::Index>& heapParamIndices,
                                 std::vector<std::unique_ptr<C2Param>>* const heapParams) const = 0;
    virtual c2_status_t config_sm(
        const std::vector<C2Param*>& params,
        std::vector<std::unique_ptr<C2SettingResult>>* const failures) = 0;
    virtual std::shared_ptr<C2ParamReflector> getParamReflector() const = 0;
    virtual c2_status_t querySupportedParams_nb(
        std::vector<std::shared_ptr<C2ParamDescriptor>>* const params) const = 0;
    virtual c2_status_t querySupportedValues_sm(
        std::vector<C2FieldSupportedValuesQuery>& fields) const = 0;
};
