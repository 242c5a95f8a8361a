#include "host/effect_host.h"

#include <algorithm>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <variant>

#include "host/host_callbacks.h"
#include "host/host_error.h"
#include "host/host_suites.h"
#include "host/param_values.h"

namespace lunaform::host {
namespace {

// The effect API revision this host implements, reported in every in-data.
constexpr PF_SpecVersion kApiVersion{13, 28};

thread_local EffectHost* active_host = nullptr;

std::mutex& live_hosts_mutex() {
  static std::mutex mutex;
  return mutex;
}

std::set<const EffectHost*>& live_hosts() {
  static std::set<const EffectHost*> hosts;
  return hosts;
}

double seconds_of(A_long value, A_u_long scale) {
  return static_cast<double>(value) / scale;
}

void check_scale(const char* what, PF_RationalScale scale) {
  if (scale.num <= 0 || scale.den == 0) {
    throw HostError(std::string("impossible ") + what + " " + std::to_string(scale.num) + "/" +
                    std::to_string(scale.den));
  }
}

}  // namespace

EffectHost::Activation::Activation(EffectHost& host)
    : previous_(std::exchange(active_host, &host)) {}

EffectHost::Activation::~Activation() {
  active_host = previous_;
}

EffectHost* EffectHost::active() {
  return active_host;
}

EffectHost* EffectHost::from_effect_ref(PF_ProgPtr effect_ref) {
  auto* host = reinterpret_cast<EffectHost*>(effect_ref);
  std::lock_guard lock(live_hosts_mutex());
  return live_hosts().contains(host) ? host : nullptr;
}

EffectHost::EffectHost(PF_FilterProc entry_point)
    : entry_point_(entry_point), composition_(default_composition()) {
  provide_host_suites(suites_);
  std::lock_guard lock(live_hosts_mutex());
  live_hosts().insert(this);
}

std::unique_ptr<EffectHost> EffectHost::new_instance() {
  auto instance = std::make_unique<EffectHost>(entry_point_);
  instance->handles_ = handles_;
  instance->global_data_ = global_data_;
  instance->shares_global_data_ = true;
  return instance;
}

EffectHost::~EffectHost() {
  try {
    if ((global_setup_sent_ || shares_global_data_) && sequence_live_) {
      sequence_setdown();
    }
    if (global_setup_sent_) {
      global_setdown();
    }
  } catch (const HostError&) {
    // Settings a test or caller left impossible (a layer larger than any world) cannot be
    // described to the module any more; the setdowns are skipped rather than ending the
    // process from a destructor.
  }
  release_pre_render_data();
  std::lock_guard lock(live_hosts_mutex());
  live_hosts().erase(this);
}

PF_Err EffectHost::global_setup() {
  return dispatch(PF_Cmd_GLOBAL_SETUP, nullptr);
}
PF_Err EffectHost::params_setup() {
  return dispatch(PF_Cmd_PARAMS_SETUP, nullptr);
}
PF_Err EffectHost::sequence_setup() {
  return dispatch(PF_Cmd_SEQUENCE_SETUP, nullptr);
}
PF_Err EffectHost::sequence_resetup() {
  return dispatch(PF_Cmd_SEQUENCE_RESETUP, nullptr);
}
PF_Err EffectHost::sequence_flatten() {
  return dispatch(PF_Cmd_SEQUENCE_FLATTEN, nullptr);
}
PF_Err EffectHost::sequence_setdown() {
  return dispatch(PF_Cmd_SEQUENCE_SETDOWN, nullptr);
}
PF_Err EffectHost::global_setdown() {
  return dispatch(PF_Cmd_GLOBAL_SETDOWN, nullptr);
}
PF_Err EffectHost::update_params_ui() {
  return dispatch(PF_Cmd_UPDATE_PARAMS_UI, nullptr);
}
PF_Err EffectHost::about() {
  return dispatch(PF_Cmd_ABOUT, nullptr);
}
PF_Err EffectHost::send(PF_Cmd command, void* extra) {
  return dispatch(command, extra);
}

PF_Err EffectHost::user_changed_param(PF_ParamIndex index) {
  PF_UserChangedParamExtra extra{index};
  return dispatch(PF_Cmd_USER_CHANGED_PARAM, &extra);
}

void EffectHost::set_layer_source(PF_ParamIndex index, std::optional<LayerSize> size) {
  if (index < 1) {
    throw HostError("the input layer (index 0) is the host's own layer; set settings().layer");
  }
  if (!size) {
    layer_choices_[index] = LayerRef{};
    return;
  }
  check_size("layer", *size);
  const std::string name = "Layer source " + std::to_string(index);
  const SolidLayer transparent{Color{0, 0, 0, 0}, size->width, size->height};
  if (Layer* existing = find_layer(composition_, name)) {
    existing->content = transparent;
  } else {
    Layer layer;
    layer.name = name;
    layer.content = transparent;
    composition_.layers.push_back(std::move(layer));
  }
  layer_choices_[index] = LayerRef{name};
}

void EffectHost::set_composition(Composition comp) {
  check_composition(comp);
  composition_ = std::move(comp);
  layer_choices_.clear();
  footage_refresh_.watch(composition_);
  const auto& effect =
      std::get<EffectLayer>(composition_.layers[*effect_layer_index(composition_)].content);
  settings_.layer = {effect.width, effect.height};
  settings_.pixel_aspect = {effect.pixel_aspect.num, effect.pixel_aspect.den};
  const TimeBase base = time_base(composition_);
  settings_.time_scale = base.time_scale;
  settings_.time_step = base.time_step;
  settings_.total_time = base.total_time;
}

const ParamValue* EffectHost::scene_value(const std::string& name) const {
  const auto effect_index = effect_layer_index(composition_);
  if (!effect_index || name.empty()) {
    return nullptr;
  }
  const auto& effect = std::get<EffectLayer>(composition_.layers[*effect_index].content);
  const auto found = effect.params.find(name);
  return found != effect.params.end() ? &found->second : nullptr;
}

std::optional<std::size_t> EffectHost::chosen_layer(PF_ParamIndex index) const {
  if (index < 1 || !params_.contains(index) ||
      params_.at(index).current.param_type != PF_Param_LAYER) {
    return std::nullopt;
  }
  LayerRef choice;
  if (const auto chosen = layer_choices_.find(index); chosen != layer_choices_.end()) {
    choice = chosen->second;
  } else if (const ParamValue* value = scene_value(params_.at(index).name)) {
    if (const auto* ref = std::get_if<LayerRef>(value)) {
      choice = *ref;
    }
  }
  for (std::size_t i = 0; i < composition_.layers.size() && !choice.name.empty(); ++i) {
    const Layer& layer = composition_.layers[i];
    if (layer.name == choice.name && (std::holds_alternative<FootageLayer>(layer.content) ||
                                      std::holds_alternative<SolidLayer>(layer.content))) {
      return i;
    }
  }
  return std::nullopt;
}

void EffectHost::refresh_footage() {
  for (std::string& warning : footage_refresh_.refresh(composition_)) {
    footage_warnings_.push_back(std::move(warning));
  }
}

std::vector<std::string> EffectHost::take_footage_warnings() {
  return std::exchange(footage_warnings_, {});
}

void EffectHost::fail_suite_function(std::string function, A_Err error) {
  failing_function_ = std::move(function);
  failing_error_ = error;
}

void EffectHost::record_suite_calls(bool on) {
  recording_suite_calls_ = on;
  suite_calls_.clear();
}

std::optional<A_Err> EffectHost::enter_suite_function(const char* function) {
  const bool failing = !failing_function_.empty() && failing_function_ == function;
  const A_Err refused = failing ? failing_error_ : A_Err_NONE;
  if (recording_suite_calls_) {
    suite_calls_.emplace_back(function, refused);
  }
  return failing ? std::optional(refused) : std::nullopt;
}

void EffectHost::note_suite_result(A_Err result) {
  if (recording_suite_calls_ && !suite_calls_.empty()) {
    suite_calls_.back().second = result;
  }
}

std::vector<ParamMismatch> EffectHost::effect_param_mismatches() const {
  std::vector<ParamMismatch> mismatches;
  const auto effect_index = effect_layer_index(composition_);
  if (!effect_index) {
    return mismatches;
  }
  const auto& effect = std::get<EffectLayer>(composition_.layers[*effect_index].content);
  for (const auto& [name, value] : effect.params) {
    const auto& all = params_.all();
    const auto param = std::find_if(all.begin() + 1, all.end(), [&name = name](const HostParam& p) {
      return p.name == name && param_holds_value(p.current.param_type);
    });
    if (param == all.end()) {
      mismatches.push_back({name, "the effect has no parameter named '" + name + "'"});
    } else if (auto problem = value_mismatch(param->current, value)) {
      mismatches.push_back({name, "parameter '" + name + "' is given " + *problem});
    }
  }
  return mismatches;
}

PF_State EffectHost::param_state(PF_ParamIndex index, double seconds) {
  ContentHash content;
  const HostParam& param = params_.at(index);
  if (index == 0) {
    content.add(settings_.layer);
  } else if (param.current.param_type == PF_Param_LAYER) {
    if (const auto chosen = chosen_layer(index)) {
      // A checkout delivers the layer at the frame's depth and downsampling: an 8-bit preview
      // of float footage is not what a 32-bit frame gets.
      content.add(settings_.bits_per_channel);
      content.add(settings_.downsample_x);
      content.add(settings_.downsample_y);
      content.add(layer_content_hash(composition_.layers[*chosen], *chosen, image_hashes_));
    }
  } else {
    const PF_ParamDef value = param_value_at(index, seconds);
    content.add(value.param_type);
    content.add(value.u);
  }
  return make_state(index, content.value());
}

void EffectHost::note_timed_call(std::string function, const A_Time& time) {
  timed_calls_.push_back({std::move(function), time});
}

void EffectHost::validate_settings() const {
  check_size("layer", settings_.layer);
  check_scale("horizontal downsample", settings_.downsample_x);
  check_scale("vertical downsample", settings_.downsample_y);
  check_scale("pixel aspect ratio", settings_.pixel_aspect);
  if (settings_.time_scale == 0) {
    throw HostError("impossible time scale 0");
  }
  check_bit_depth(settings_.bits_per_channel);
  if (settings_.output_rect) {
    const PF_LRect& rect = *settings_.output_rect;
    check_size("output", {rect.right - rect.left, rect.bottom - rect.top});
  }
}

std::optional<LayerSize> EffectHost::layer_source(PF_ParamIndex index) const {
  if (index == 0) {
    return settings_.layer;
  }
  const auto chosen = chosen_layer(index);
  if (!chosen) {
    return std::nullopt;
  }
  const auto [width, height] = layer_pixel_size(composition_.layers[*chosen]);
  return LayerSize{width, height};
}

PF_LRect EffectHost::output_request_rect() const {
  if (settings_.output_rect) {
    return *settings_.output_rect;
  }
  const LayerSize size =
      downsampled(settings_.layer, settings_.downsample_x, settings_.downsample_y);
  return {0, 0, size.width, size.height};
}

PF_ParamDef EffectHost::param_value_at(PF_ParamIndex index, double seconds) const {
  const HostParam& param = params_.at(index);
  PF_ParamDef value = param.current;
  if (value.param_type != PF_Param_LAYER) {
    const PointFrame frame{settings_.layer, settings_.downsample_x, settings_.downsample_y};
    if (const ParamValue* scene = scene_value(param.name)) {
      apply_value(value, *scene, seconds, frame);
    } else {
      points_from_percent(value, frame);
    }
    return value;
  }
  // A layer parameter's value is the chosen layer at the current resolution; the host shows
  // its size here, the pixels come through the Smart Render checkouts.
  const A_long dephault = value.u.ld.dephault;
  value.u.ld = PF_LayerDef{};
  value.u.ld.dephault = dephault;
  if (const auto source = layer_source(index)) {
    const LayerSize size = downsampled(*source, settings_.downsample_x, settings_.downsample_y);
    value.u.ld.width = size.width;
    value.u.ld.height = size.height;
    value.u.ld.extent_hint = {0, 0, size.width, size.height};
    value.u.ld.pix_aspect_ratio = settings_.pixel_aspect;
  }
  return value;
}

void EffectHost::prepare_command(PF_Cmd command) {
  if (command == PF_Cmd_PARAMS_SETUP) {
    params_.reset();
    custom_ui_.reset();
    aegp_.clear_dynamic_flags();
  }
  timed_calls_.clear();
  image_hashes_.prune();
  const LayerSize layer = settings_.layer;
  const LayerSize shown = downsampled(layer, settings_.downsample_x, settings_.downsample_y);

  in_data_ = PF_InData{};
  in_data_.inter = HostCallbacks::interact();
  in_data_.utils = HostCallbacks::utils();
  in_data_.effect_ref = reinterpret_cast<PF_ProgPtr>(this);
  in_data_.quality = settings_.quality;
  in_data_.version = kApiVersion;
  in_data_.num_params = static_cast<A_long>(params_.size());
  in_data_.current_time = settings_.current_time;
  in_data_.time_step = settings_.time_step;
  in_data_.local_time_step = settings_.time_step;
  in_data_.total_time = settings_.total_time;
  in_data_.time_scale = settings_.time_scale;
  in_data_.field = settings_.field;
  in_data_.shutter_angle = settings_.shutter_angle;
  in_data_.shutter_phase = settings_.shutter_phase;
  in_data_.width = layer.width;
  in_data_.height = layer.height;
  in_data_.extent_hint = {0, 0, shown.width, shown.height};
  in_data_.downsample_x = settings_.downsample_x;
  in_data_.downsample_y = settings_.downsample_y;
  in_data_.pixel_aspect_ratio = settings_.pixel_aspect;
  in_data_.global_data = global_data_;
  in_data_.sequence_data = sequence_data_;
  in_data_.pica_basicP = HostCallbacks::basic_suite();

  out_data_ = PF_OutData{};
  out_data_.global_data = global_data_;
  out_data_.sequence_data = sequence_data_;

  command_params_.clear();
  command_param_pointers_.clear();
  const double now = seconds_of(settings_.current_time, settings_.time_scale);
  for (PF_ParamIndex index = 0; index < static_cast<PF_ParamIndex>(params_.size()); ++index) {
    command_params_.push_back(param_value_at(index, now));
  }
  for (PF_ParamDef& param : command_params_) {
    command_param_pointers_.push_back(&param);
  }
  command_param_pointers_.push_back(nullptr);
}

void EffectHost::finish_command() {
  global_data_ = out_data_.global_data;
  sequence_data_ = out_data_.sequence_data;
}

void EffectHost::inside_command(PF_Cmd command, const std::function<void()>& body) {
  validate_settings();
  prepare_command(command);
  struct Finish {
    EffectHost& host;
    ~Finish() {
      host.running_command_ = -1;
      host.finish_command();
    }
  } finish{*this};
  const Activation activation(*this);
  running_command_ = command;
  body();
}

PF_Err EffectHost::dispatch(PF_Cmd command, void* extra) {
  PF_Err result = PF_Err_NONE;
  inside_command(command, [&] {
    result = entry_point_(command, &in_data_, &out_data_, command_param_pointers_.data(), nullptr,
                          extra);
  });
  commands_.push_back({command, result});

  switch (command) {
    case PF_Cmd_GLOBAL_SETUP:
      global_setup_sent_ = true;
      break;
    case PF_Cmd_GLOBAL_SETDOWN:
      global_setup_sent_ = false;
      break;
    case PF_Cmd_SEQUENCE_SETUP:
    case PF_Cmd_SEQUENCE_RESETUP:
      sequence_live_ = true;
      break;
    case PF_Cmd_SEQUENCE_SETDOWN:
      sequence_live_ = false;
      break;
    case PF_Cmd_PARAMS_SETUP:
      if (result == PF_Err_NONE && out_data_.num_params != static_cast<A_long>(params_.size())) {
        note_problem("parameter setup reported " + std::to_string(out_data_.num_params) +
                     " parameters, the host received " + std::to_string(params_.size()));
      }
      break;
    default:
      break;
  }
  return result;
}

void EffectHost::run_inside_command(
    PF_Cmd command, const std::function<void(PF_InData&, PF_OutData&, PF_ParamList)>& body) {
  inside_command(command, [&] { body(in_data_, out_data_, command_param_pointers_.data()); });
}

void EffectHost::note_problem(std::string text) {
  problems_.push_back(std::move(text));
}

PF_Err EffectHost::add_param(PF_ParamIndex index, PF_ParamDefPtr def) {
  if (running_command_ != PF_Cmd_PARAMS_SETUP) {
    note_problem("add_param outside parameter setup");
    return PF_Err_INVALID_CALLBACK;
  }
  std::string problem;
  const PF_Err result = params_.add(index, def, problem);
  if (!problem.empty()) {
    note_problem(std::move(problem));
  }
  return result;
}

PF_Err EffectHost::checkout_param(PF_ParamIndex index, A_long what_time, A_long,
                                  A_u_long time_scale, PF_ParamDef* param) {
  if (param == nullptr) {
    note_problem("checkout_param into a null definition");
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (!params_.contains(index)) {
    note_problem("checkout_param of index " + std::to_string(index) + " (the list holds " +
                 std::to_string(params_.size()) + ")");
    return PF_Err_INVALID_INDEX;
  }
  if (time_scale == 0) {
    note_problem("checkout_param with time scale 0");
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *param = param_value_at(index, seconds_of(what_time, time_scale));
  ++outstanding_param_checkouts_;
  return PF_Err_NONE;
}

PF_Err EffectHost::checkin_param(PF_ParamDef* param) {
  if (param == nullptr || outstanding_param_checkouts_ == 0) {
    note_problem(param == nullptr ? "checkin_param of a null definition"
                                  : "checkin_param without a checkout");
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  --outstanding_param_checkouts_;
  return PF_Err_NONE;
}

PF_Err EffectHost::register_ui(PF_CustomUIInfo* info) {
  if (info == nullptr) {
    note_problem("register_ui with a null record");
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  custom_ui_ = *info;
  return PF_Err_NONE;
}

PF_Err EffectHost::get_platform_data(PF_PlatDataID which, void* data) {
  if (data == nullptr) {
    note_problem("get_platform_data into a null pointer");
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  if (which != PF_PlatData_MAIN_WND) {
    note_problem("get_platform_data for item " + std::to_string(which) +
                 ", which this host does not offer");
    return PF_Err_BAD_CALLBACK_PARAM;
  }
  *static_cast<void**>(data) = main_window_;
  return PF_Err_NONE;
}

}  // namespace lunaform::host
