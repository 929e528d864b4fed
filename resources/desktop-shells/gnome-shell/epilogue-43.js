
function init() {
  return new VeltoWindows();
}
