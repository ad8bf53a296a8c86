// Searching in a page that was opened from a disk: there the browser lets a page load no other file by itself, so the index is
// in this one, and no worker is started.
function loadScripts(urls, callback) { callback(); }
function init() { onJSONLoaded.call({responseText: JSON.stringify(orvSearchIndex)}); }
function doSearch() {
  var query = document.getElementById('mkdocs-search-query').value;
  displayResults(query.length > min_search_length ? search(query) : []);
}
window.postMessage = function (message) { onWorkerMessage({data: message}); };
init();
